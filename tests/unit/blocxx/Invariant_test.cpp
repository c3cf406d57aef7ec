// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Invariant.hpp"

#include <gtest/gtest.h>

namespace blocxx {
namespace {

TEST(InvariantTest, WhatHoldsIsLetThrough) {
    EXPECT_TRUE(believed(true));
    EXPECT_NO_THROW(ensured(true));
}

TEST(InvariantTest, ABrokenBeliefIsTheCallersToAnswerButStopsATestWithTheSanitizers) {
#ifdef __SANITIZE_ADDRESS__
    EXPECT_DEATH(believed(false), "Invariant_test.cpp:.*a believed invariant does not hold");
#else
    EXPECT_FALSE(believed(false));
#endif
}

TEST(InvariantTest, ABrokenConditionIsAnErrorThatNamesItsPlace) {
    try {
        ensured(false);
        FAIL() << "let through";
    } catch (const InvariantException& e) {
        EXPECT_NE(String(e.getMessage()).find("Invariant_test.cpp, line "), String::npos);
        EXPECT_NE(String(e.getMessage()).find("please report it"), String::npos);
        EXPECT_GT(e.getLine(), 0);
    }
}

}  // namespace
}  // namespace blocxx
