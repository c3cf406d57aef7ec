// SPDX-License-Identifier: Apache-2.0
//
// Removing a product with everything that is registered for it.
#include <gmock/gmock.h>

#include "blocxx/Interruption.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNConfigFile.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProductDeregistration : public ProviderFixture {
protected:
    ProductDeregistration() {
        OpenRepository repository(m_tree);
        const String list = entry("disk", registrationMof("Disk", MONITORED),
                                  providerMof(classMof("Disk")), PRIVILEGES);
        registerList(repository, list);
        setConfigFileFromString("sample", "owcimomd.debug = true\n", m_tree.prefix());
        repository.handle()->commit();
        m_undo.clear();
        m_log.clear();
    }

    void deregister(OpenRepository& repository, const String& product = "sample") {
        deregisterProduct(repository.handle(), product, m_tree.prefix(), m_undo);
    }
    fs::path usersFile() const { return m_tree.configDirectory() / "sample.allowed_users.conf"; }
};

TEST(ProductDeregistrationFromTheBeginning, LeavesTheTreeAsItWasBeforeTheRegistration) {
    StagedTree tree;
    CleanupActions_t undo;
    OpenRepository repository(tree);
    const auto content = repository.content();
    registerProduct(repository.handle(), "sample", {"alice"}, tree.prefix());
    registerNamespaces(repository.handle(), "sample", {"alice"}, {"bob"}, {"sample", "sample/two"},
                       tree.prefix(), undo);
    undo.clear();
    deregisterProduct(repository.handle(), "sample", tree.prefix(), undo);
    EXPECT_EQ(repository.content(), content);
    EXPECT_TRUE(fs::is_empty(tree.configDirectory()));
}

TEST_F(ProductDeregistration, RemovesEverythingThatBelongsToTheProduct) {
    OpenRepository repository(m_tree);
    deregister(repository);
    EXPECT_THAT(privilegeFiles(), IsEmpty());
    EXPECT_TRUE(fs::is_empty(m_tree.configDirectory()));
    EXPECT_THAT(listRegisteredProducts(repository.handle()), IsEmpty());
    EXPECT_THAT(listNamespaces(repository.handle(), "sample"), IsEmpty());
    for (const auto& [name, text] : repository.content()) {
        EXPECT_EQ(text.find("sample"), String::npos) << name;
        EXPECT_EQ(name.find("sample"), String::npos) << name;
    }
}

TEST_F(ProductDeregistration, InfrastructureIsRefusedBeforeAnyLookUp) {
    OpenRepository repository(m_tree);
    repository.faults().failFromCall(1);
    expectFailure(29, "Deregistration of kov is not allowed.",
                  [&] { deregister(repository, "kov"); });
    EXPECT_FALSE(repository.faults().hasFailed());
    EXPECT_TRUE(m_undo.empty());
}

TEST_F(ProductDeregistration, UnknownProductsAreRefused) {
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    for (const char* product : {"KOV", "Sample", "other", ""}) {
        expectFailure(3, "The product has not been registered.",
                      [&] { deregister(repository, product); });
    }
    EXPECT_EQ(repository.content(), before);
    EXPECT_TRUE(m_undo.empty());
}

TEST_F(ProductDeregistration, AllowedUsersFileThatIsNotThereIsTold) {
    fs::remove(usersFile());
    const auto files = m_tree.files();
    {
        OpenRepository repository(m_tree);
        const auto product = read(repository, "kov", "KOV_Product.Name=\"sample\"");
        const auto privileges = privilegeFiles();
        try {
            undoOnFailure(m_undo, [&] { deregister(repository); });
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 25);
            EXPECT_EQ(e.getMessage(), "Failed to remove " + usersFile().string());
            ASSERT_NE(e.getOtherException(), nullptr);
            EXPECT_STREQ(e.getOtherException()->getMessage(), "No such file or directory");
        }
        EXPECT_EQ(read(repository, "kov", "KOV_Product.Name=\"sample\""), product);
        EXPECT_EQ(privilegeFiles(), privileges);
        EXPECT_EQ(getConfigFile("sample", m_tree.prefix()), "owcimomd.debug = true\n");
        EXPECT_EQ(repository.handle()->enumInstancesA("kov", "KOV_OOP1Provider").size(), 1U);
        EXPECT_THAT(listNamespaces(repository.handle(), "sample"), IsEmpty())
            << "the namespaces have no undo: the caller throws the copy away";
        m_undo.clear();
    }
    EXPECT_FALSE(fs::exists(usersFile()));
    auto after = m_tree.files();
    EXPECT_EQ(after.size(), files.size());
}

TEST_F(ProductDeregistration, AllowedUsersFileHasNoUndo) {
    OpenRepository repository(m_tree);
    deregister(repository);
    executeCleanupActions(m_undo);
    EXPECT_FALSE(fs::exists(usersFile()));
    EXPECT_THAT(listRegisteredProducts(repository.handle()), ElementsAre("sample"));
}

TEST_F(ProductDeregistration, InterruptionAfterTheLastUndoableStepKeepsTheAllowedUsersFile) {
    OpenRepository repository(m_tree);
    repository.faults().afterEach([](const OperationCall& call) {
        if (call.operation == Operation::DELETE_INSTANCE &&
            call.as<CIMObjectPath>().getClassName() == "KOV_Product") {
            blocxx::Interruption::failLater(std::make_exception_ptr(std::runtime_error("now")));
        }
    });
    EXPECT_THROW(deregister(repository), std::runtime_error);
    blocxx::Interruption::forget();
    EXPECT_TRUE(fs::exists(usersFile()));
    EXPECT_THAT(listRegisteredProducts(repository.handle()), IsEmpty());
}

TEST_F(ProductDeregistration, LogsItsStepsInTheirOrder) {
    OpenRepository repository(m_tree);
    deregister(repository);
    StringArray lines;
    for (const String& line : m_log.debugLines()) {
        for (const char* step : {"Deregistering product", "Checking product",
                                 "Deregistering providers", "Deregistering namespaces"}) {
            if (line.find(step) != String::npos) {
                lines.push_back(line);
            }
        }
    }
    EXPECT_THAT(lines,
                ElementsAre("ProductRegistration: Deregistering product \"sample\"",
                            "Checking product registration for \"sample\"",
                            "ProviderRegistration: Deregistering providers for \"sample\"",
                            ::testing::HasSubstr("Deregistering namespaces for product \"sample\""),
                            "Checking product registration for \"sample\""));
}

}  // namespace
}  // namespace KOVNS2::Testing
