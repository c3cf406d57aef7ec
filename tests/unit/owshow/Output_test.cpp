// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/Output.hpp"

#include <gtest/gtest.h>

#include "blocxx/Exception.hpp"

namespace OwShow {
namespace {

TEST(Budget, RefusesWhatExceedsItInAll) {
    Budget budget(1000);
    for (int i = 0; i < 5; ++i) {
        budget.take("0123456789");
    }
    try {
        for (int i = 0; i < 5; ++i) {
            budget.take("0123456789");
        }
        ADD_FAILURE() << "nothing was thrown";
    } catch (const blocxx::Exception& e) {
        EXPECT_STREQ(e.getMessage(),
                     "there is more to sort than fits in memory. Name a class or a product, or use "
                     "--mof, which sorts nothing");
    }
}

TEST(Budget, CountsTextsWithoutCharacters) {
    Budget budget(1000);
    EXPECT_THROW(
        for (int i = 0; i < 100; ++i) { budget.take(""); }, blocxx::Exception);
}

}  // namespace
}  // namespace OwShow
