// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/FNNamespaceRegistration.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "blocxx/FileSystem.hpp"
#include "fennik/namespace/NamespaceUtils.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "fennik/undo/FennikException.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KOVNS2::Testing {
namespace {

class NamespaceRegistration : public ::testing::Test {
protected:
    NamespaceRegistration() {
        OpenRepository repository(m_tree);
        for (const char* product : {"sample", "dorvik"}) {
            registerProduct(repository.handle(), product, {"alice"}, m_tree.prefix());
        }
        m_log.clear();
    }

    void registerIn(OpenRepository& repository, const StringArray& namespaces,
                    const StringArray& users = {}, const StringArray& readers = {},
                    const String& product = "sample") {
        undoOnFailure(m_undo, [&] {
            registerNamespaces(repository.handle(), product, users, readers, namespaces,
                               m_tree.prefix(), m_undo);
        });
    }

    /// "user capability" of everybody with access to the namespace, sorted.
    static StringArray access(OpenRepository& repository, const String& ns) {
        StringArray found;
        for (const auto& acl :
             repository.handle()->enumInstancesA("root/security", "OpenWBEM_UserACL")) {
            if (acl.getPropertyValue("nspace").toString() == ns) {
                found.push_back(acl.getPropertyValue("username").toString() + " " +
                                acl.getPropertyValue("capability").toString());
            }
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    template <class Exception, class Operation>
    static void expectFailure(int code, const String& message, Operation operation) {
        try {
            operation();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const Exception& e) {
            EXPECT_EQ(e.getErrorCode(), code);
            EXPECT_NE(String(e.getMessage()).find(message), String::npos) << e.getMessage();
        }
    }

    StagedTree m_tree;
    CapturedLog m_log;
    CleanupActions_t m_undo;
};

TEST_F(NamespaceRegistration, MakesEverythingThatBelongsToANamespace) {
    OpenRepository repository(m_tree);
    registerIn(repository, {"sample", "sample/two"}, {"bob", "carol"}, {"dave"});

    for (const char* ns : {"sample", "sample/two"}) {
        EXPECT_TRUE(GetNSUtils(repository.handle())->NamespaceExists(ns));
        EXPECT_EQ(access(repository, ns),
                  (StringArray{"bob rwRW", "carol rwRW", "dave rR", "root rwRW"}));
        EXPECT_EQ(repository.handle()->enumQualifierTypesA(ns).size(), 3U);
        EXPECT_TRUE(repository.handle()->enumClassNamesA(ns, "").empty());
    }
    EXPECT_EQ(listNamespaces(repository.handle(), "sample"), (StringArray{"sample", "sample/two"}));
}

TEST_F(NamespaceRegistration, RootAloneHasAccessWithoutUsers) {
    OpenRepository repository(m_tree);
    registerIn(repository, {"sample"});
    EXPECT_EQ(access(repository, "sample"), StringArray{"root rwRW"});
}

TEST_F(NamespaceRegistration, RootInEitherListAddsNothing) {
    OpenRepository repository(m_tree);
    registerIn(repository, {"sample"}, {"root", "bob", "root"}, {"root"});
    EXPECT_EQ(access(repository, "sample"), (StringArray{"bob rwRW", "root rwRW"}));
}

TEST_F(NamespaceRegistration, AnyOtherUserTwiceIsAnErrorThatIsUndone) {
    const struct {
        StringArray users;
        StringArray readers;
    } rows[] = {{{"bob", "bob"}, {}}, {{}, {"bob", "bob"}}, {{"bob"}, {"bob"}}};
    for (const auto& row : rows) {
        OpenRepository repository(m_tree);
        const auto before = repository.content();
        m_undo.clear();
        expectFailure<CIMException>(CIMException::ALREADY_EXISTS, "", [&] {
            registerIn(repository, {"sample"}, row.users, row.readers);
        });
        EXPECT_EQ(repository.content(), before);
        EXPECT_TRUE(m_log.errors().empty());
    }
}

TEST_F(NamespaceRegistration, OneBadNameAmongManyChangesNothing) {
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    expectFailure<FennikException>(6, "Namespace other must begin with sample.", [&] {
        registerIn(repository, {"sample", "sampled", "other"});
    });
    EXPECT_TRUE(m_undo.empty());
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, NamingRuleIsAPlainPrefixWithOneException) {
    const struct {
        const char* product;
        const char* ns;
        bool accepted;
    } rows[] = {
        {"sample", "sampleandmore", true}, {"sample", "Sample", false}, {"sample", "zebra", false},
        {"dorvik", "zebra", true},         {"dorvik", "dorvik", true},  {"dorvik", "ze", false},
        {"dorvik", "root", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(String(row.product) + " " + row.ns);
        OpenRepository repository(m_tree);
        if (row.accepted) {
            EXPECT_NO_THROW(registerIn(repository, {row.ns}, {}, {}, row.product));
        } else {
            expectFailure<FennikException>(
                6, String("Namespace ") + row.ns + " must begin with " + row.product + ".",
                [&] { registerIn(repository, {row.ns}, {}, {}, row.product); });
        }
        m_undo.clear();
    }
}

TEST_F(NamespaceRegistration, UnregisteredProductChangesNothing) {
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    expectFailure<FennikException>(3, "The product has not been registered.",
                                   [&] { registerIn(repository, {"nobody"}, {}, {}, "nobody"); });
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, ExistingNamespaceIsAClash) {
    OpenRepository repository(m_tree);
    registerIn(repository, {"sample"});
    m_undo.clear();
    const auto before = repository.content();
    expectFailure<NamespaceUtilsException>(-1, "Unable to create the Namespace: ", [&] {
        registerIn(repository, {"sample/x", "sample"});
    });
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, MissingQualifiersFileIsUndone) {
    std::filesystem::remove(m_tree.qualifiersFile());
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    expectFailure<blocxx::FileSystemException>(ENOENT, m_tree.qualifiersFile().string(),
                                               [&] { registerIn(repository, {"sample"}); });
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, BrokenQualifiersFileIsUndoneAndNamed) {
    writeFile(m_tree.qualifiersFile(), "Qualifier Key : boolean = oops");
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    expectFailure<MOF::MOFCompilerException>(
        -1, m_tree.qualifiersFile().string() + ":1:", [&] { registerIn(repository, {"sample"}); });
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, ClassesInTheQualifiersFileAreIgnored) {
    writeFile(m_tree.qualifiersFile(), readFile(m_tree.qualifiersFile()) + "class X {};");
    OpenRepository repository(m_tree);
    registerIn(repository, {"sample"});
    EXPECT_TRUE(repository.handle()->enumClassNamesA("sample", "").empty());
}

// The same operation fails in turn at each of its calls, until none fails; each time the undo list
// brings the repository back to what it was.
TEST_F(NamespaceRegistration, FaultAtAnyCallIsUndone) {
    const auto filesBefore = m_tree.files();
    unsigned faults = 0;
    for (unsigned n = 1;; ++n) {
        SCOPED_TRACE("call " + std::to_string(n));
        ASSERT_LT(n, 200U);
        OpenRepository repository(m_tree);
        const auto before = repository.content();
        m_undo.clear();
        repository.faults().failCall(n);
        try {
            registerIn(repository, {"sample", "sample/two"}, {"bob"}, {"carol"});
            EXPECT_FALSE(repository.faults().hasFailed()) << "a failed call was ignored";
            break;
        } catch (const blocxx::Exception&) {
            ++faults;
            repository.faults().failNothing();
            EXPECT_EQ(repository.content(), before);
            EXPECT_TRUE(m_log.errors().empty());
        }
    }
    EXPECT_GT(faults, 20U);
    m_undo.clear();  // its closures hold on to the repository
    EXPECT_EQ(m_tree.files(), filesBefore) << "nothing was committed";
}

TEST_F(NamespaceRegistration, RunningTheListAfterSuccessTakesEverythingBack) {
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    registerIn(repository, {"sample", "sample/two"}, {"bob"}, {"carol"});
    executeCleanupActions(m_undo);
    EXPECT_EQ(repository.content(), before);
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(NamespaceRegistration, DeregisteringRemovesEverything) {
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    registerIn(repository, {"sample", "sample/two"}, {"bob"}, {"carol"});
    deregisterNamespaces(repository.handle(), "sample", {"sample/two", "sample"});
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, DeregisteringAppliesTheNamingRuleWithItsOwnCode) {
    OpenRepository repository(m_tree);
    expectFailure<FennikException>(7, "Namespace kov must begin with sample.", [&] {
        deregisterNamespaces(repository.handle(), "sample", {"kov"});
    });
}

TEST_F(NamespaceRegistration, ListingWithoutNamespacesIsEmpty) {
    OpenRepository repository(m_tree);
    EXPECT_TRUE(listNamespaces(repository.handle(), "sample").empty());
}

TEST_F(NamespaceRegistration, UsersOfOtherNamespacesAreNotLoaded) {
    OpenRepository repository(m_tree);
    registerIn(repository, {"sample", "sample/two"}, {"bob"}, {});
    StringArray users{"kept"};
    loadNamespaceUsers(repository.handle(), "sample", users);
    EXPECT_EQ(users.size(), 3U);
    EXPECT_EQ(users.front(), "kept");
    users.clear();
    loadNamespaceUsers(repository.handle(), "SAMPLE", users);
    EXPECT_TRUE(users.empty());
}

TEST_F(NamespaceRegistration, LogsEachStep) {
    OpenRepository repository(m_tree);
    m_log.clear();
    registerIn(repository, {"sample", "sample/two"}, {"bob"}, {"carol"});
    const StringArray lines = m_log.debugLines();
    const StringArray expected{
        "NamespaceRegistration: Registering namespaces for product \"sample\": \"sample\" "
        "\"sample/two\"",
        "Checking product registration for \"sample\"",
        "NamespaceRegistration: Creating namespace \"sample\"",
        "NamespaceRegistration: Giving user \"bob\" read/write access to \"sample\"",
        "NamespaceRegistration: Giving user \"carol\" read access to \"sample\"",
        "NamespaceRegistration: Giving root read/write access to \"sample\"",
        "NamespaceRegistration: Importing qualifiers into namespace \"sample\"",
        "NamespaceRegistration: Marking namespace \"sample\" as reserved",
        "NamespaceRegistration: Creating product->namespace association \"sample\"->\"sample\"",
    };
    ASSERT_GE(lines.size(), expected.size());
    EXPECT_EQ(StringArray(lines.begin(), lines.begin() + static_cast<long>(expected.size())),
              expected);
}

}  // namespace
}  // namespace KOVNS2::Testing
