// SPDX-License-Identifier: Apache-2.0
//
// Message templates.
#include "blocxx/Format.hpp"

#include <gtest/gtest.h>

#include <sstream>

using blocxx::Format;
using blocxx::String;

namespace {

TEST(Format, ReplacesPlaceholdersInAnyOrder) {
    EXPECT_EQ(Format("%2 and %1 and %2", "a", String("b")).toString(), "b and a and b");
    EXPECT_EQ(Format("%1 %2 %3 %4 %5 %6 %7 %8 %9", 1, 2, 3, 4, 5, 6, 7, 8, 9).toString(),
              "1 2 3 4 5 6 7 8 9");
}

TEST(Format, NeverScansReplacedText) {
    EXPECT_EQ(Format("<%1> <%2>", "%2 %% %1", "%1").toString(), "<%2 %% %1> <%1>");
}

TEST(Format, TakesOneDigitForAPlaceholder) {
    EXPECT_EQ(Format("%10", "a").toString(), "a0");
}

TEST(Format, LeavesPlaceholdersWithoutAnArgument) {
    EXPECT_EQ(Format("%1 %2 %0 %x %", "a").toString(), "a %2 %0 %x %");
    EXPECT_EQ(Format("%1").toString(), "%1");
    EXPECT_EQ(Format("").toString(), "");
}

TEST(Format, WritesOnePercentSignForTwo) {
    EXPECT_EQ(Format("100%% %%1 %%%1 %%", "a").toString(), "100% %1 %a %");
}

TEST(Format, PrintsWhateverAStreamPrints) {
    const blocxx::Exception e("", 0, "text", 3);
    EXPECT_EQ(Format("%1, %2, %3, %4", 7, 'c', -1L, e).toString(), "7, c, -1, Exception: 3: text");
    std::ostringstream out;
    out << Format("[%1]", Format("%1", "x"));
    EXPECT_EQ(out.str(), "[x]");
}

TEST(Format, KeepsTextWithNulCharacters) {
    EXPECT_EQ(Format("a%1", String("\0b", 2)).toString(), String("a\0b", 3));
}

}  // namespace
