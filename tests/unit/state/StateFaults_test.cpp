// SPDX-License-Identifier: Apache-2.0
//
// Restoring with each call of the handle failing in turn. Only documented files stay, and in the
// repository, which would be a working copy that is dropped, the instances of the products.
#include <algorithm>

#include "tests/unit/fennik/FileFaults.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"
#include "tests/unit/state/StateFixture.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;

const StringArray PRODUCTS{"one", "two"};

class StateFaults : public StateFixture {
protected:
    StateFaults() { writeFile(file(), wholeState()); }

    /// Two products, each with a snippet, a namespace with content and a provider with privileges.
    static String wholeState() {
        String products;
        for (const String& product : PRODUCTS) {
            const String mof = "#pragma namespace(\"" + product +
                               "\")\n"
                               "Qualifier Own : string, Scope(class);\n"
                               "[Own(\"x\")] class S { [Key] string Id; };\nclass T : S {};\n"
                               "instance of T { Id = \"1\"; };\n";
            const String registration =
                registrationMof("disk", {{"InstanceID", "\"" + product + ":disk\""}});
            const String provider =
                textElement("ProviderMOFNamespace", product) +
                textElement("ProviderClassname", "S") +
                textElement("ProviderPrivileges", "unpriv_user { nobody }\n") +
                textElement("ProviderOOPIPrivileges", "user_exec_check_args { /x @ owprovdr }\n") +
                element("ProviderQualifiers", textElement("Name", "Own")) +
                element("ProviderClasses", textElement("Name", "S")) +
                element("RegistrationInstances", textElement("InstanceMOF", registration)) +
                element("ProviderInstances", textElement("Name", product + ":T.Id=\"1\""));
            products += productElement(
                product, {"alice"},
                textElement("ConfigFile", "key = 1\n") +
                    element("NamespaceRegistration",
                            namespaceElement(product, {"alice=rwRW", "bob=rR"})) +
                    element("RegisteredProviders", element("OOP1ProviderRegistration", provider)) +
                    element("ProductInstances", contentElement(product, mof)));
        }
        return document(products);
    }

    static bool isRegistered(const std::map<String, String>& content, const String& product) {
        return content.contains("kov: kov:KOV_Product.Name=\"" + product + "\"");
    }

    /// Expects that the restore left at most the allowed users files and snippets of the products
    /// that it had begun, because creating these is not undone. The administrator removes them
    /// before the next attempt. Privilege files and temporary files must be gone.
    void expectDocumentedFiles(const std::map<String, String>& content) {
        StringArray left = newFiles();
        for (const String& product : PRODUCTS) {
            const bool hasUsers = fs::exists(usersFile(product));
            EXPECT_EQ(hasUsers, isRegistered(content, product)) << product;
            EXPECT_TRUE(hasUsers || !fs::exists(snippet(product))) << product;
            std::erase(left, fs::relative(usersFile(product), m_tree.prefix()).string());
            std::erase(left, fs::relative(snippet(product), m_tree.prefix()).string());
        }
        EXPECT_EQ(left, StringArray());
    }

    /// Expects that, besides the failure itself, only qualifier types are logged: those that
    /// restored classes use cannot be deleted before the namespace. In the tool the copy is
    /// already closed then, and these undo steps do nothing.
    void expectOneFailure() {
        StringArray others = m_log.errors();
        ASSERT_FALSE(others.empty());
        EXPECT_TRUE(others.front().starts_with("Failed restoring state dump from "))
            << others.front();
        others.erase(others.begin());
        std::erase_if(others, [](const String& text) {
            return text.find("The attempt to delete the qualifier type ") != String::npos &&
                   text.find(" cannot be deleted: class ") != String::npos;
        });
        EXPECT_EQ(others, StringArray());
    }

    /// Removes the files that a failed restore leaves.
    void reset() {
        for (const String& product : PRODUCTS) {
            fs::remove(usersFile(product));
            fs::remove(snippet(product));
        }
        m_undo.clear();
        m_log.clear();
    }
};

TEST_F(StateFaults, OneCallThatFailsLeavesOnlyTheProductsThatWereBegun) {
    unsigned failures = 0;
    for (;; ++failures) {
        SCOPED_TRACE("call " + std::to_string(failures + 1));
        // Each restore gets a new repository.
        const StagedTree tree;
        OpenRepository repository(tree);
        const auto before = repository.content();
        repository.faults().failCall(failures + 1);
        String thrown;
        try {
            restore(repository);
            EXPECT_FALSE(repository.faults().hasFailed());
            break;
        } catch (const blocxx::Exception& e) {
            thrown = toString(e);
        }
        ASSERT_TRUE(repository.faults().hasFailed()) << thrown;
        EXPECT_NE(thrown.find(FaultyHandle::FAULT), String::npos) << thrown;
        expectOneFailure();
        repository.faults().failNothing();
        auto after = repository.content();
        expectDocumentedFiles(after);
        for (const String& product : PRODUCTS) {
            after.erase("kov: kov:KOV_Product.Name=\"" + product + "\"");
        }
        EXPECT_EQ(after, before);
        reset();
    }
    EXPECT_GT(failures, 50U);
    std::printf("%u injected failures\n", failures);
}

TEST_F(StateFaults, CallsThatFailForEverStillTakePrivilegeFilesAway) {
    unsigned failures = 0;
    for (;; ++failures) {
        SCOPED_TRACE("call " + std::to_string(failures + 1));
        const StagedTree tree;
        OpenRepository repository(tree);
        repository.faults().failFromCall(failures + 1);
        try {
            restore(repository);
            EXPECT_FALSE(repository.faults().hasFailed());
            break;
        } catch (const blocxx::Exception&) {
        }
        ASSERT_TRUE(repository.faults().hasFailed());
        StringArray left = newFiles();
        for (const String& product : PRODUCTS) {
            std::erase(left, fs::relative(usersFile(product), m_tree.prefix()).string());
            std::erase(left, fs::relative(snippet(product), m_tree.prefix()).string());
        }
        EXPECT_EQ(left, StringArray());
        reset();
    }
    EXPECT_GT(failures, 50U);
    std::printf("%u injected failures\n", failures);
}

TEST_F(StateFaults, NamesOfPrivilegeFilesAreSyncedAndTakenAwayWhenThatFails) {
    const fs::path privileges = m_tree.privilegeDirectory();
    StringArray failed;
    for (unsigned n = 1; n < 1000; ++n) {
        const StagedTree tree;
        OpenRepository repository(tree);
        FileFaults::failCall(n, privileges.parent_path());
        String thrown;
        try {
            restore(repository);
        } catch (const blocxx::Exception& e) {
            thrown = toString(e);
        }
        FileFaults::failNothing();
        if (FileFaults::failedCall().empty()) {
            EXPECT_EQ(thrown, "");
            break;
        }
        const fs::path path(FileFaults::failedFile());
        if (FileFaults::failedCall() == "fsync" && fs::is_directory(path)) {
            failed.push_back(fs::relative(path, privileges.parent_path()).string());
            EXPECT_NE(thrown.find("\"" + path.string() + "\""), String::npos) << thrown;
            expectDocumentedFiles(repository.content());
        }
        for (const auto& entry : fs::recursive_directory_iterator(privileges)) {
            if (entry.is_regular_file()) {
                fs::remove(entry);
            }
        }
        reset();
    }
    EXPECT_TRUE(std::ranges::count(failed, "privileges") > 0);
    EXPECT_TRUE(std::ranges::count(failed, "privileges/owcimomd") > 0);
}

/// Each file that restoring creates exists already, in turn.
TEST_F(StateFaults, EveryFileThatIsInTheWayIsKeptAndTold) {
    const auto privileges = m_tree.privilegeDirectory();
    const struct {
        fs::path path;
        int code;
        String reason;
    } rows[] = {
        {usersFile("one"), 12, "Failed to create " + usersFile("one").string()},
        {privileges / "owcimomd/oop1-one_disk", -1, ""},
        {privileges / "oop1-one_disk", -1, ""},
        {usersFile("two"), 12, "Failed to create " + usersFile("two").string()},
        {privileges / "owcimomd/oop1-two_disk", -1, ""},
        {privileges / "oop1-two_disk", -1, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path.string());
        const StagedTree tree;
        OpenRepository repository(tree);
        writeFile(row.path, "old");
        try {
            restore(repository);
            ADD_FAILURE() << "restored";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), row.code);
            EXPECT_EQ(e.getMessage(), row.reason.empty()
                                          ? "Failed restoring state dump from " + file().string()
                                          : row.reason);
            if (row.reason.empty()) {
                ASSERT_NE(e.getOtherException(), nullptr);
                EXPECT_NE(String(e.getOtherException()->getMessage())
                              .find("createFile(" + row.path.string() + ") failed"),
                          String::npos)
                    << toString(e);
            }
        }
        EXPECT_EQ(readFile(row.path), "old");
        fs::remove(row.path);
        for (const char* name : {"oop1-one_disk", "oop1-two_disk"}) {
            EXPECT_FALSE(fs::exists(privileges / name));
            EXPECT_FALSE(fs::exists(privileges / "owcimomd" / name));
        }
        reset();
    }
}

TEST_F(StateFaults, SnippetThatIsInTheWayIsReplaced) {
    writeFile(snippet("one"), "old");
    OpenRepository repository(m_tree);
    restore(repository);
    EXPECT_EQ(readFile(snippet("one")), "key = 1\n");
}

TEST_F(StateFaults, ProductThatIsStillThereIsRefusedAndKept) {
    OpenRepository repository(m_tree);
    registerOne(repository, "two", {"bob"}, {"two"});
    const String users = readFile(usersFile("two"));
    auto before = repository.content();
    try {
        restore(repository);
        ADD_FAILURE() << "restored";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), 2);
        EXPECT_EQ(e.getMessage(), String("The product has already been registered."));
    }
    auto after = repository.content();
    EXPECT_EQ(after.erase("kov: kov:KOV_Product.Name=\"one\""), 1U);
    EXPECT_EQ(after, before);
    EXPECT_EQ(readFile(usersFile("two")), users);
    EXPECT_FALSE(fs::exists(snippet("two")));
}

}  // namespace
}  // namespace KOVNS2::Testing
