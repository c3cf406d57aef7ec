// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/ProductReader.hpp"

#include <gtest/gtest.h>

#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace OwShow {
namespace {

using namespace KOVNS2::Testing;  // NOLINT(google-build-using-namespace)

class ProductReaderTest : public ::testing::Test {
protected:
    ProductReaderTest() {
        KOVNS2::registerProduct(m_repository.handle(), "sample", {"bob", "alice"}, prefix());
        KOVNS2::registerNamespaces(m_repository.handle(), "sample", {"bob"}, {"alice"},
                                   {"sample/b", "sample/a"}, prefix(), m_undo);
    }

    String prefix() const { return m_tree.prefix(); }

    /// The product "sample" as text.
    String shown() {
        ProductReader reader(*m_repository.handle(), prefix());
        String text;
        printText(reader.read("sample"), [&](std::string_view piece) { text += piece; });
        return text;
    }
    /// Makes an operation fail with that status.
    void fail(const String& operation, CIMException::ErrNoType code) {
        m_repository.faults().failBy([code] { throw CIMException("", 0, code, "no"); });
        m_repository.faults().failOperation(operation);
    }

    StagedTree m_tree;
    KOVNS2::Testing::OpenRepository m_repository{m_tree};
    KOVNS2::CleanupActions_t m_undo;
};

String usersAndFiles(const String& prefix) {
    const String files = prefix + "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d/sample";
    return "sample\n"
           "  users\n"
           "    bob\n"
           "    alice\n"
           "  allowed users file: " +
           files + ".allowed_users.conf\n  configuration snippet: " + files + ".conf (none)\n";
}

TEST_F(ProductReaderTest, ShowsUsersFilesAndRights) {
    EXPECT_EQ(shown(), usersAndFiles(prefix()) +
                           "  namespaces\n"
                           "    sample/a\n"
                           "      alice: rR\n"
                           "      bob: rwRW\n"
                           "      root: rwRW\n"
                           "    sample/b\n"
                           "      alice: rR\n"
                           "      bob: rwRW\n"
                           "      root: rwRW\n"
                           "  providers: none\n");
}

TEST_F(ProductReaderTest, NamesAreSorted) {
    KOVNS2::registerProduct(m_repository.handle(), "other", {"bob"}, prefix());
    ProductReader reader(*m_repository.handle(), prefix());
    EXPECT_EQ(reader.names(), (StringArray{"other", "sample"}));
}

TEST_F(ProductReaderTest, SaysWhatTheCallerMayNotRead) {
    fail("enumInstances", CIMException::ACCESS_DENIED);
    EXPECT_EQ(shown(), usersAndFiles(prefix()) +
                           "  namespaces\n"
                           "    sample/a\n"
                           "      not shown: access denied: no\n"
                           "    sample/b\n"
                           "      not shown: access denied: no\n"
                           "  providers: none\n");
}

TEST_F(ProductReaderTest, FailureOfTheRepositoryIsNoGap) {
    fail("enumInstances", CIMException::FAILED);
    try {
        shown();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const CIMException& e) {
        EXPECT_STREQ(e.getMessage(), "failed: cannot show the product \"sample\": no");
    }
}

TEST_F(ProductReaderTest, MissingProductIsNamed) {
    ProductReader reader(*m_repository.handle(), prefix());
    try {
        reader.read("nobody");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const CIMException& e) {
        EXPECT_EQ(e.getErrNo(), CIMException::NOT_FOUND);
        EXPECT_EQ(String(e.getMessage()).find("not found: cannot show the product \"nobody\": "),
                  0U)
            << e.getMessage();
    }
}

TEST_F(ProductReaderTest, NameThatIsAPathIsNotLookedFor) {
    CIMInstance product("KOV_Product");
    product.setProperty("Name", CIMValue("../../x"));
    m_repository.handle()->createInstance("kov", product);
    ProductReader reader(*m_repository.handle(), prefix());
    String text;
    printText(reader.read("../../x"), [&](std::string_view piece) { text += piece; });
    EXPECT_EQ(text, "../../x\n  users: none\n  namespaces: none\n  providers: none\n");
}

}  // namespace
}  // namespace OwShow
