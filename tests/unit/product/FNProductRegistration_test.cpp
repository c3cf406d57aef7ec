// SPDX-License-Identifier: Apache-2.0
#include "fennik/product/FNProductRegistration.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "fennik/common/FennikException.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;

class ProductRegistration : public ::testing::Test {
protected:
    fs::path usersFile(const String& product) const {
        return m_tree.configDirectory() / (product + ".allowed_users.conf");
    }

    void registerNow(const String& product, const StringArray& users) {
        OpenRepository repository(m_tree);
        registerProduct(repository.handle(), product, users, m_tree.prefix());
    }

    /// Registers and expects a FennikException with this code and message.
    void expectFailure(OpenRepository& repository, const String& product, int code,
                       const String& message) {
        try {
            registerProduct(repository.handle(), product, {"alice"}, m_tree.prefix());
            ADD_FAILURE() << "registered";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), code);
            EXPECT_EQ(e.getMessage(), message);
        }
    }

    StringArray products() {
        OpenRepository repository(m_tree);
        return listRegisteredProducts(repository.handle());
    }

    StagedTree m_tree;
    CapturedLog m_log;
};

TEST_F(ProductRegistration, MakesTheInstanceAndTheFileAndCommits) {
    registerNow("sample", {"bob", "alice", "bob"});

    OpenRepository repository(m_tree);
    const auto instances = repository.handle()->enumInstancesA("kov", "KOV_Product");
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(instances[0].getPropertyValue("Name").toString(), "sample");
    EXPECT_EQ(instances[0].getPropertyValue("Usernames").getArray<String>(),
              (StringArray{"bob", "alice", "bob"}));
    EXPECT_EQ(readFile(usersFile("sample")), "owcimomd.allowed_users = bob alice bob\n");
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(ProductRegistration, WithoutUsersTheLineEndsAfterTheEqualSign) {
    registerNow("sample", {});
    EXPECT_EQ(readFile(usersFile("sample")), "owcimomd.allowed_users =\n");
    OpenRepository repository(m_tree);
    const CIMValue users = repository.handle()
                               ->enumInstancesA("kov", "KOV_Product")
                               .at(0)
                               .getPropertyValue("Usernames");
    EXPECT_TRUE(users.isArray());
    EXPECT_EQ(users.getArraySize(), 0U);
}

TEST_F(ProductRegistration, AllowedUsersFileHasTheDefaultModeLessTheMask) {
    const mode_t before = ::umask(027);
    registerNow("sample", {"alice"});
    ::umask(before);
    EXPECT_EQ(fs::status(usersFile("sample")).permissions(), fs::perms(0640));
}

TEST_F(ProductRegistration, RegisteredProductIsLeftAsItIs) {
    registerNow("sample", {"alice"});
    const auto before = m_tree.files();
    {
        OpenRepository repository(m_tree);
        const auto content = repository.content();
        expectFailure(repository, "sample", 2, "The product has already been registered.");
        EXPECT_EQ(repository.content(), content);
    }
    EXPECT_EQ(m_tree.files(), before);
}

TEST_F(ProductRegistration, ProductWithoutItsFileIsNamedWithTheRemedy) {
    registerNow("it's", {"alice"});
    fs::resize_file(usersFile("it's"), 0);
    try {
        registerNow("it's", {"alice"});
        FAIL() << "nothing failed";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getMessage(), String("The product has already been registered."));
        ASSERT_NE(e.getOtherException(), nullptr);
        EXPECT_EQ(e.getOtherException()->getMessage(),
                  "already exists: the instance KOV_Product.Name=\"it's\" is there, but the file "
                  "\"" +
                      usersFile("it's").string() +
                      "\" is missing or empty: an earlier run was killed. Remove the file if it is "
                      "there, and delete the instance by "
                      "\"owdeleteinstance --dest-dir " +
                      m_tree.prefix() +
                      " -n kov 'KOV_Product.Name=\"it'\\''s\"'\"; then run the command again");
    }
}

TEST_F(ProductRegistration, AlreadyRegisteredCarriesTheCimErrorAsItsCause) {
    registerNow("sample", {"alice"});
    try {
        registerNow("sample", {"alice"});
        ADD_FAILURE() << "registered twice";
    } catch (const FennikException& e) {
        const auto* cause = dynamic_cast<const CIMException*>(e.getOtherException());
        ASSERT_NE(cause, nullptr);
        EXPECT_EQ(cause->getErrNo(), CIMException::ALREADY_EXISTS);
    }
}

TEST_F(ProductRegistration, ExistingAllowedUsersFileIsNotTouched) {
    writeFile(usersFile("sample"), "precious");
    const auto before = m_tree.files();
    {
        OpenRepository repository(m_tree);
        expectFailure(repository, "sample", 12, "Failed to create " + usersFile("sample").string());
        EXPECT_TRUE(repository.handle()->enumInstancesA("kov", "KOV_Product").empty());
    }
    EXPECT_EQ(m_tree.files(), before);
}

TEST_F(ProductRegistration, LinkInPlaceOfTheFileIsNotFollowed) {
    fs::create_symlink("/tmp/elsewhere-that-is-not-there", usersFile("sample"));
    OpenRepository repository(m_tree);
    expectFailure(repository, "sample", 12, "Failed to create " + usersFile("sample").string());
    EXPECT_FALSE(fs::exists("/tmp/elsewhere-that-is-not-there"));
}

struct BadName {
    String name;
    String problem;
};

const BadName BAD_NAMES[] = {
    {"", "is empty"},
    {" alice", "begins or ends with white space"},
    {"alice ", "begins or ends with white space"},
    {"\talice", "begins or ends with white space"},
    {"alice\n", "begins or ends with white space"},
    {"a\x1b!", "has a control character in it"},
    {"a\xef\xbf\xbf!", "has a code in it that is no character"},
};

// The message says that a file cannot be created; its cause says what is wrong with the name.
TEST_F(ProductRegistration, NameThatCannotBeUsedIsRefusedBeforeTheFirstChange) {
    Array<BadName> rows{{".", "stands for a directory"},
                        {"..", "stands for a directory"},
                        {"a/b", "has a slash in it"},
                        {"../x", "has a slash in it"},
                        {"/etc/x", "has a slash in it"},
                        {String("a\0b", 3), "has a NUL in it"},
                        {String(237, 'x'), "is longer than 236 bytes"},
                        {"sample.allowed_users",
                         "ends in \".allowed_users\", which is for the files of allowed users"}};
    rows.insert(rows.end(), std::begin(BAD_NAMES), std::end(BAD_NAMES));
    for (const auto& [name, problem] : rows) {
        SCOPED_TRACE("name \"" + name + "\"");
        OpenRepository repository(m_tree);
        repository.faults().failFromCall(1);
        try {
            registerProduct(repository.handle(), name, {"alice"}, m_tree.prefix());
            ADD_FAILURE() << "registered";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 12);
            EXPECT_STREQ(e.getMessage(), ("Failed to create " + m_tree.prefix() +
                                          "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d/" + name +
                                          ".allowed_users.conf")
                                             .c_str());
            EXPECT_STREQ(e.getOtherException()->getMessage(),
                         ("the product name \"" + name + "\" " + problem).c_str());
        }
    }
    EXPECT_TRUE(products().empty());
}

TEST_F(ProductRegistration, UserNameThatCannotBeUsedIsRefusedBeforeTheFirstChange) {
    Array<BadName> rows{{"alice\nowcimomd.log_level = debug", "has a control character in it"},
                        {"a\tb", "has a control character in it"},
                        {"a\x7f!", "has a control character in it"}};
    rows.insert(rows.end(), std::begin(BAD_NAMES), std::end(BAD_NAMES));
    for (const auto& [name, problem] : rows) {
        SCOPED_TRACE("name \"" + name + "\"");
        OpenRepository repository(m_tree);
        repository.faults().failFromCall(1);
        try {
            registerProduct(repository.handle(), "sample", {"alice", name}, m_tree.prefix());
            ADD_FAILURE() << "registered";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 12);
            EXPECT_EQ(e.getMessage(), "Failed to create " + usersFile("sample").string());
            EXPECT_EQ(e.getOtherException()->getMessage(),
                      "the user name \"" + name + "\" " + problem);
        }
    }
    EXPECT_FALSE(fs::exists(usersFile("sample")));
}

TEST_F(ProductRegistration, LongNamesAndThoseThatXmlHoldsCanBeRegistered) {
    for (const String& name : {String(236, 'x'), String("a\nb"), String("a\tb"), String("a b")}) {
        registerNow(name, {"alice", "bob carol"});
        EXPECT_EQ(readFile(usersFile(name)), "owcimomd.allowed_users = alice bob carol\n");
    }
    EXPECT_EQ(products().size(), 4U);
}

// Each call of the handle fails in turn, until a registration meets no fault. Each time the
// repository, as the handle shows it and as it is on disk, and all files are as before.
TEST_F(ProductRegistration, FaultAtAnyCallLeavesEverythingAsItWas) {
    const auto filesBefore = m_tree.files();
    unsigned faults = 0;
    for (unsigned n = 1;; ++n) {
        SCOPED_TRACE("call " + std::to_string(n));
        ASSERT_LT(n, 100U);
        OpenRepository repository(m_tree);
        const auto contentBefore = repository.content();
        repository.faults().failCall(n);
        try {
            registerProduct(repository.handle(), "sample", {"alice"}, m_tree.prefix());
        } catch (const CIMException& e) {
            EXPECT_TRUE(String(e.getMessage()).ends_with(FaultyHandle::FAULT));
            repository.faults().failNothing();
            EXPECT_EQ(repository.content(), contentBefore);
            EXPECT_TRUE(m_log.errors().empty()) << "the undo itself met a fault";
            ++faults;
            continue;
        }
        EXPECT_FALSE(repository.faults().hasFailed()) << "a failed call was ignored";
        break;
    }
    EXPECT_EQ(faults, 3U) << "getClass, createInstance, commit";
    EXPECT_EQ(products(), StringArray{"sample"});
    EXPECT_NE(m_tree.files(), filesBefore);
}

TEST_F(ProductRegistration, FaultsFromACallOnwardsLeaveTheDiskAsItWas) {
    const auto before = m_tree.files();
    for (unsigned n = 1; n <= 3; ++n) {
        SCOPED_TRACE("from call " + std::to_string(n));
        {
            OpenRepository repository(m_tree);
            repository.faults().failFromCall(n);
            EXPECT_THROW(registerProduct(repository.handle(), "sample", {"alice"}, m_tree.prefix()),
                         CIMException);
        }
        EXPECT_EQ(m_tree.files(), before);
    }
    EXPECT_EQ(m_log.errors().size(), 1U) << "only the undo of the instance had a call to make";
    EXPECT_TRUE(products().empty());
}

TEST_F(ProductRegistration, LogsWhatItDoes) {
    registerNow("sample", {"alice"});
    EXPECT_EQ(m_log.debugLines(),
              (StringArray{"ProductRegistration: Registering product \"sample\"",
                           "ProductRegistration: Creating allowed users file: \"" +
                               usersFile("sample").string() + "\""}));
    m_log.clear();
    products();
    EXPECT_EQ(m_log.debugLines(),
              StringArray{"ProductRegistration: Getting list of registered products"});
}

TEST_F(ProductRegistration, ListingWithoutProductsIsEmpty) {
    EXPECT_TRUE(products().empty());
}

TEST_F(ProductRegistration, ListingNamesEveryProductAsItWasGiven) {
    for (const char* name : {"b", "A", "with blank", "per%1cent", "quo\"te"}) {
        registerNow(name, {});
    }
    StringArray names = products();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (StringArray{"A", "b", "per%1cent", "quo\"te", "with blank"}));
}

}  // namespace
}  // namespace KOVNS2::Testing
