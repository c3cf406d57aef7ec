// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/NamespaceUtils.hpp"

#include <gtest/gtest.h>

#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KOVNS2::Testing {
namespace {

template <class Operation>
void expectMessage(const String& start, Operation operation) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const NamespaceUtilsException& e) {
        EXPECT_TRUE(String(e.getMessage()).starts_with(start)) << e.getMessage();
        EXPECT_EQ(e.getErrorCode(), -1);
        EXPECT_STREQ(e.type(), "NamespaceUtilsException");
    }
}

class NamespaceUtilsTest : public ::testing::Test {
protected:
    StagedTree m_tree;
    OpenRepository m_repository{m_tree};
    NamespaceUtilsRef m_namespaces = GetNSUtils(m_repository.handle());
    CapturedLog m_log;
};

TEST_F(NamespaceUtilsTest, CreatesFindsAndDeletes) {
    EXPECT_FALSE(m_namespaces->NamespaceExists("new/ns"));
    m_namespaces->CreateNamespace("new/ns");
    EXPECT_TRUE(m_namespaces->NamespaceExists("new/ns"));
    m_namespaces->DeleteNamespace("new/ns");
    EXPECT_FALSE(m_namespaces->NamespaceExists("new/ns"));
}

TEST_F(NamespaceUtilsTest, ExistenceDependsOnLetterCase) {
    EXPECT_TRUE(m_namespaces->NamespaceExists("kov"));
    EXPECT_FALSE(m_namespaces->NamespaceExists("KOV"));
}

TEST_F(NamespaceUtilsTest, ExistingNamespaceCannotBeCreated) {
    expectMessage("Unable to create the Namespace: ",
                  [&] { m_namespaces->CreateNamespace("kov"); });
}

TEST_F(NamespaceUtilsTest, DeletingAMissingNamespaceIsLoggedAndSucceeds) {
    m_namespaces->DeleteNamespace("none");
    EXPECT_EQ(m_log.errors(),
              blocxx::StringArray{"Error ignored: The namespace none could not be deleted because "
                                  "it doesn't exist."});
}

TEST_F(NamespaceUtilsTest, OtherFailuresOfDeletingAreErrors) {
    m_repository.faults().failOperation("deleteNameSpace");
    expectMessage("Unable to delete the Namespace: ",
                  [&] { m_namespaces->DeleteNamespace("kov"); });
}

TEST(NamespaceUtils, NullHandleIsRefused) {
    expectMessage("Unable to cast CIMOM Handle to a type usable by NamespaceUtils.",
                  [] { GetNSUtils(OpenWBEM::CIMOMHandleIFCRef()); });
    RepositoryNSUtils namespaces{RepositoryNSUtils::HandleRef()};
    expectMessage("CIMOM Handle was null.", [&] { namespaces.CreateNamespace("x"); });
    expectMessage("CIMOM Handle was null.", [&] { namespaces.DeleteNamespace("x"); });
}

}  // namespace
}  // namespace KOVNS2::Testing
