// SPDX-License-Identifier: Apache-2.0
#include "openwbem/text/SourceText.hpp"

#include <gtest/gtest.h>

namespace OpenWBEM {
namespace {

TEST(SourceText, CountsLinesAndCharactersFromOne) {
    struct Row {
        const char* before;
        size_t line;
        size_t column;
    };
    const Row rows[] = {{"", 1, 1},
                        {"ab", 1, 3},
                        {"ab\n", 2, 1},
                        {"\n\nx", 3, 2},
                        {"\xC3\xA4\xE2\x82\xAC", 1, 3},  // two characters, five bytes
                        {"\xFF\xFE", 1, 3}};             // bytes that are not UTF-8 count singly
    for (const Row& row : rows) {
        const String before = row.before;
        SourceText text({"T", before + "here"});
        const SourceText::Place place = text.locate(text.begin() + before.size());
        EXPECT_EQ(place.line, row.line) << before;
        EXPECT_EQ(place.column, row.column) << before;
    }
}

TEST(SourceText, ShowsTheLineOfAnErrorWithACaret) {
    SourceText text({"FILE",
                     "first\n\tse\x1B"
                     "cond\r\nthird"});
    EXPECT_EQ(text.describe({text.begin() + 9, "what is wrong"}),
              "FILE:2:4: error: what is wrong\n\tse?cond\n\t  ^");
}

TEST(SourceText, ShortensALongLineAroundAnError) {
    SourceText text({"FILE", String(100, 'a') + "!" + String(100, 'b')});
    EXPECT_EQ(text.describe({text.begin() + 100, "no"}),
              "FILE:1:101: error: no\n..." + String(60, 'a') + "!" + String(39, 'b') + "...\n" +
                  String(63, ' ') + "^");
}

TEST(SourceText, BeginsBehindAByteOrderMarkAndGivesItBack) {
    const String marked = "\xEF\xBB\xBFx";
    SourceText text({"T", marked});
    EXPECT_EQ(String(text.begin(), text.end()), "x");
    EXPECT_EQ(text.locate(text.begin()).column, 1U);
    EXPECT_EQ(std::move(text).take(), marked);
}

TEST(SourceText, HasTwoZeroBytesForTheScannerBehindIt) {
    SourceText text({"T", "ab"});
    EXPECT_EQ(String(text.scannerBuffer(), text.scannerBufferSize()), String("ab\0\0", 4));
}

TEST(SourceText, IsTheSameUnderItsNameAndAsItsFile) {
    SourceText text({"a.mof", "", {1, 2}});
    EXPECT_TRUE(text.isSameAs({"a.mof", "", {}}));
    EXPECT_TRUE(text.isSameAs({"link.mof", "", {1, 2}}));
    EXPECT_FALSE(text.isSameAs({"b.mof", "", {1, 3}}));
    EXPECT_FALSE(SourceText({"MOF", ""}).isSameAs({"other", ""})) << "no file is no file in common";
}

TEST(InQuotes, ShortensWhatIsLongAndHidesWhatATerminalObeys) {
    EXPECT_EQ(inQuotes("name"), "'name'");
    EXPECT_EQ(inQuotes(String(41, 'x')), "'" + String(40, 'x') + "...'");
    EXPECT_EQ(inQuotes("a\x1B[1m\x7F"), "'a?[1m?'");
    EXPECT_EQ(inQuotes("\xFF"), "'\xEF\xBF\xBD'");
}

}  // namespace
}  // namespace OpenWBEM
