// SPDX-License-Identifier: Apache-2.0
//
// Operations on strings.
#include "blocxx/String.hpp"

#include <gmock/gmock.h>

using blocxx::StringArray;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(Tokenize, SplitsAtEverySeparatorAndDropsEmptyPieces) {
    EXPECT_THAT(blocxx::tokenize("ERROR FATAL"), ElementsAre("ERROR", "FATAL"));
    EXPECT_THAT(blocxx::tokenize(" \n\r\t\va \v b\r\nc\t"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(blocxx::tokenize("a::b:", ":"), ElementsAre("a", "b"));
    EXPECT_THAT(blocxx::tokenize("a b", ":"), ElementsAre("a b"));
    EXPECT_THAT(blocxx::tokenize("a\fb"), ElementsAre("a\fb"));
}

TEST(Tokenize, FindsNothingInNothing) {
    EXPECT_THAT(blocxx::tokenize(""), IsEmpty());
    EXPECT_THAT(blocxx::tokenize(" \t "), IsEmpty());
    EXPECT_THAT(blocxx::tokenize("a", ""), ElementsAre("a"));
}

TEST(IgnoringCase, EqualsOnlyForAsciiLetters) {
    EXPECT_TRUE(blocxx::equalsIgnoreCase("KOV_Product", "kov_pRODUCT"));
    EXPECT_TRUE(blocxx::equalsIgnoreCase("", ""));
    EXPECT_FALSE(blocxx::equalsIgnoreCase("kov", "kov "));
    EXPECT_FALSE(blocxx::equalsIgnoreCase("@", "`"));
    EXPECT_FALSE(blocxx::equalsIgnoreCase("[", "{"));
    EXPECT_FALSE(blocxx::equalsIgnoreCase("\xc3\x84", "\xc3\xa4"));
}

TEST(IgnoringCase, OrdersLikeTheLowerCaseText) {
    EXPECT_EQ(blocxx::compareIgnoreCase("ABC", "abc"), 0);
    EXPECT_LT(blocxx::compareIgnoreCase("abc", "ABD"), 0);
    EXPECT_GT(blocxx::compareIgnoreCase("abd", "ABC"), 0);
    EXPECT_LT(blocxx::compareIgnoreCase("ab", "ABC"), 0);
    EXPECT_GT(blocxx::compareIgnoreCase("abc", "AB"), 0);
    EXPECT_LT(blocxx::compareIgnoreCase("_", "A"), 0);
    EXPECT_GT(blocxx::compareIgnoreCase("\xff", "z"), 0);
}

TEST(IgnoringCase, LowersAsciiLettersOnly) {
    EXPECT_EQ(blocxx::toLower("AZaz09_\xc3\x84"), "azaz09_\xc3\x84");
}

}  // namespace
