// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/FNNamespaceRegistration.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "blocxx/FileSystem.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/namespace/NamespaceUtils.hpp"
#include "fennik/product/FNProductRegistration.hpp"
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

    /// "user capability" for each user with access to the namespace, sorted.
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

    /// Expects that registering fails with the message about a namespace that cannot be created,
    /// and leaves nothing to undo.
    void expectClash(const StringArray& namespaces, const String& reason,
                     OpenRepository& repository) {
        expectFailure<NamespaceUtilsException>(-1, reason,
                                               [&] { registerIn(repository, namespaces); });
        EXPECT_TRUE(m_undo.empty());
    }

    static void create(OpenRepository& repository, const String& ns, const String& className,
                       const std::map<String, String>& properties) {
        CIMInstance instance = repository.handle()->getClass(ns, className).newInstance();
        for (const auto& [name, value] : properties) {
            instance.setProperty(name, CIMValue(value));
        }
        repository.handle()->createInstance(ns, instance);
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

TEST_F(NamespaceRegistration, AnyOtherUserTwiceIsRefusedBeforeTheFirstChange) {
    const struct {
        StringArray users;
        StringArray readers;
    } rows[] = {{{"bob", "bob"}, {}}, {{}, {"bob", "bob"}}, {{"bob"}, {"bob"}}};
    for (const auto& row : rows) {
        OpenRepository repository(m_tree);
        const auto before = repository.content();
        expectFailure<CIMException>(
            CIMException::ALREADY_EXISTS,
            "the user \"bob\" is named twice; name each user once, with "
            "--username or with --ro-username",
            [&] { registerIn(repository, {"sample"}, row.users, row.readers); });
        EXPECT_TRUE(m_undo.empty());
        EXPECT_EQ(repository.content(), before);
        EXPECT_TRUE(m_log.errors().empty());
    }
}

TEST_F(NamespaceRegistration, UserNameThatCannotBeUsedIsRefusedBeforeTheFirstChange) {
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    for (const String user : {"", " bob", "bob ", "b\nb"}) {
        SCOPED_TRACE(user);
        const String message = "the user name \"" + user + "\" ";
        expectFailure<blocxx::Exception>(-1, message,
                                         [&] { registerIn(repository, {"sample"}, {user}); });
        expectFailure<blocxx::Exception>(-1, message,
                                         [&] { registerIn(repository, {"sample"}, {}, {user}); });
        EXPECT_TRUE(m_undo.empty());
    }
    EXPECT_EQ(repository.content(), before);
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
    registerIn(repository, {"sample/Y"});
    m_undo.clear();
    const auto before = repository.content();
    for (const String ns : {"sample/Y", "sample/y"}) {
        expectClash({"sample/x", ns}, "Unable to create the Namespace: ", repository);
        expectClash(
            {"sample/x", ns},
            "the namespace \"" + ns + "\" exists already; the product \"sample\" has reserved it",
            repository);
    }
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, NamespaceThatIsOnlyReservedIsNotOfferedForDeletion) {
    OpenRepository repository(m_tree);
    repository.faults().createNameSpace("sample");
    create(repository, "kov", "KOV_ReservedNamespace", {{"Name", "Sample"}});
    expectClash({"sample"},
                "the namespace \"sample\" exists already; it is reserved, but by no product. If a "
                "run that was killed has left it, delete it, with everything in it, by "
                "\"owdeletenamespace --reserved sample\"; then run the command again",
                repository);
}

TEST_F(NamespaceRegistration, NamespaceOfTheInstallationIsNotOfferedForDeletion) {
    OpenRepository repository(m_tree);
    registerProduct(repository.handle(), "root", {}, m_tree.prefix());
    expectFailure<NamespaceUtilsException>(
        -1, "the namespace \"root\" exists already; every installation has it",
        [&] { registerIn(repository, {"root"}, {}, {}, "root"); });
}

TEST_F(NamespaceRegistration, NamespaceThatAFailedRunLeftTellsHowToDeleteIt) {
    OpenRepository repository(m_tree);
    repository.faults().createNameSpace("sample");
    const auto before = repository.content();
    expectClash({"sample/x", "sample"},
                "the namespace \"sample\" exists already, and nothing refers to it. If a run that "
                "failed has left it, delete it, with everything in it, by \"owdeletenamespace "
                "sample\"; then run the command again",
                repository);
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, NamespaceGivenTwiceIsRefusedBeforeTheFirstChange) {
    OpenRepository repository(m_tree);
    expectClash({"sample", "sample/x", "sample"}, "the namespace \"sample\" is named twice",
                repository);
    expectClash({"sample/x", "sample/X"}, "the namespace \"sample/X\" is named twice", repository);
}

TEST_F(NamespaceRegistration, NameThatIsNoneIsRefusedBeforeTheFirstChange) {
    OpenRepository repository(m_tree);
    for (const String ns : {"sample/", "sample//x", "sample:x", "sample x", "sample/\xff"}) {
        expectFailure<NamespaceUtilsException>(
            -1, "CIMException: 4: invalid parameter: \"" + ns + "\" is not a namespace name", [&] {
                registerIn(repository, {"sample", ns});
            });
        EXPECT_TRUE(m_undo.empty());
    }
}

TEST_F(NamespaceRegistration, InstanceThatIsThereAlreadyIsRefusedBeforeTheFirstChange) {
    const struct {
        const char* ns;
        const char* className;
        std::map<String, String> properties;
        const char* path;
    } rows[] = {
        {"root/security",
         "OpenWBEM_UserACL",
         {{"nspace", "sample"}, {"username", "bob"}, {"capability", "r"}},
         "OpenWBEM_UserACL.nspace=\"sample\",username=\"bob\""},
        {"root/security",
         "OpenWBEM_UserACL",
         {{"nspace", "sample"}, {"username", "root"}, {"capability", "r"}},
         "OpenWBEM_UserACL.nspace=\"sample\",username=\"root\""},
        {"kov",
         "KOV_ReservedNamespace",
         {{"Name", "sample"}},
         "KOV_ReservedNamespace.Name=\"sample\""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        OpenRepository repository(m_tree);
        create(repository, row.ns, row.className, row.properties);
        const auto before = repository.content();
        expectFailure<CIMException>(CIMException::ALREADY_EXISTS,
                                    String("the instance ") + row.path +
                                        " exists already in the namespace \"" + row.ns +
                                        "\". Delete it by \"owdeleteinstance -n " + row.ns + " '" +
                                        row.path + "'\"; then run the command again",
                                    [&] {
                                        registerIn(repository, {"sample/x", "sample"}, {}, {"bob"});
                                    });
        EXPECT_TRUE(m_undo.empty());
        EXPECT_EQ(repository.content(), before);
    }
}

TEST_F(NamespaceRegistration, MissingQualifiersFileIsUndone) {
    std::filesystem::remove(m_tree.qualifiersFile());
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    expectFailure<blocxx::FileSystemException>(ENOENT, m_tree.qualifiersFile().string(),
                                               [&] { registerIn(repository, {"sample"}); });
    EXPECT_EQ(repository.content(), before);
}

TEST_F(NamespaceRegistration, LinkInPlaceOfTheQualifiersFileIsNotFollowed) {
    const auto file = m_tree.qualifiersFile();
    std::filesystem::rename(file, file.string() + ".moved");
    std::filesystem::create_symlink(file.string() + ".moved", file);
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    expectFailure<blocxx::FileSystemException>(
        ELOOP, "Cannot read \"" + file.string() + "\": it is a symbolic link",
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

// Each call of the operation fails in turn, until a run meets no failure. Each time the undo list
// restores the repository.
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
