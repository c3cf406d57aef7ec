// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/BoundedHandle.hpp"

#include <gtest/gtest.h>

#include "fennik/product/FNProductRegistration.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KovVerify {
namespace {

using namespace KOVNS2::Testing;  // NOLINT(google-build-using-namespace)
using OwUtilities::Budget;
using OwUtilities::ExcessException;

class BoundedHandleTest : public ::testing::Test {
protected:
    BoundedHandleTest() {
        for (int i = 0; i < 10; ++i) {
            KOVNS2::registerProduct(m_repository.handle(), "product" + std::to_string(i),
                                    {String(1000, 'u')}, m_tree.prefix());
        }
    }

    StagedTree m_tree;
    KOVNS2::Testing::OpenRepository m_repository{m_tree};
};

TEST_F(BoundedHandleTest, DeliversWhatFits) {
    Budget budget("too much", 20'000);
    BoundedHandle handle(m_repository.handle(), budget);
    EXPECT_EQ(handle.enumInstancesA("kov", "KOV_Product").size(), 10U);
    EXPECT_EQ(handle.getInstance("kov", CIMObjectPath::parse("KOV_Product.Name=\"product3\""))
                  .getPropertyValue("Name")
                  .toString(),
              "product3");
}

TEST_F(BoundedHandleTest, StopsAnEnumerationBeforeItFillsTheMemory) {
    Budget budget("too much", 5'000);
    BoundedHandle handle(m_repository.handle(), budget);
    size_t delivered = 0;
    auto count = makeResultHandler<CIMInstance>([&](const CIMInstance&) { ++delivered; });
    EXPECT_THROW(handle.enumInstances("kov", "KOV_Product", count), ExcessException);
    EXPECT_GT(delivered, 0U);
    EXPECT_LT(delivered, 5U);
}

TEST_F(BoundedHandleTest, CountsTheResultsOfAllEnumerations) {
    Budget budget("too much", 5'000);
    BoundedHandle handle(m_repository.handle(), budget);
    try {
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(handle.enumInstanceNamesA("kov", "KOV_Product").size(), 10U);
        }
        ADD_FAILURE() << "nothing was thrown";
    } catch (const ExcessException& e) {
        EXPECT_STREQ(e.getMessage(), "too much");
    }
}

TEST_F(BoundedHandleTest, CountsNamesOfClasses) {
    Budget budget("too much", 500);
    BoundedHandle handle(m_repository.handle(), budget);
    EXPECT_THROW(handle.enumClassNamesA("kov", ""), ExcessException);
}

}  // namespace
}  // namespace KovVerify
