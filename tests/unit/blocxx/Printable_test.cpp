// SPDX-License-Identifier: Apache-2.0
//
// Texts from outside, made safe for a terminal.
#include "blocxx/Printable.hpp"

#include <gtest/gtest.h>

using blocxx::oneLine;
using blocxx::printable;
using blocxx::String;

namespace {

TEST(Printable, LeavesTextAsItIs) {
    for (const char* text :
         {"", "plain ~ text\twith\nlines\n", "back\\slash \\x1b", "Grüße, 日本, 🙂",
          "\u00A0\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"}) {
        EXPECT_EQ(printable(text), text);
    }
}

TEST(Printable, WritesOutWhatATerminalActsOn) {
    EXPECT_EQ(printable("a\rb"), "a\\rb");
    EXPECT_EQ(printable("\x1b[31mred\x1b]0;title\x07"), "\\x1b[31mred\\x1b]0;title\\x07");
    EXPECT_EQ(printable(String("\0\x01\x08\x0b\x1f\x7f", 6)), "\\x00\\x01\\x08\\x0b\\x1f\\x7f");
    EXPECT_EQ(printable("\u0080 \u009b31m \u009f"), "\\xc2\\x80 \\xc2\\x9b31m \\xc2\\x9f");
}

TEST(Printable, WritesOutEveryByteThatIsNotUtf8) {
    EXPECT_EQ(printable("\x9b\x31m"), "\\x9b1m");  // C1 of eight bits
    EXPECT_EQ(printable("\xc0\x9b \xe0\x80\x9b"), "\\xc0\\x9b \\xe0\\x80\\x9b");  // overlong ESC
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80");                      // a surrogate
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // beyond the last character
    EXPECT_EQ(printable("\xff\xfe"), "\\xff\\xfe");
    EXPECT_EQ(printable("a\xe2\x82"), "a\\xe2\\x82");  // cut short
    EXPECT_EQ(printable("\xe2\x1b[0m"), "\\xe2\\x1b[0m");
    EXPECT_EQ(printable("\xc3\xc3\xa4"), "\\xc3\xc3\xa4");
}

TEST(OneLine, WritesOutWhatWouldEndTheLine) {
    EXPECT_EQ(oneLine("a\nb\rc\td"), "a\\nb\\rc\\td");
}

TEST(OneLine, KeepsEverythingElse) {
    EXPECT_EQ(oneLine("a\\n \"b\" \xC3\xA4\x1B"), "a\\n \"b\" \xC3\xA4\x1B");
}

}  // namespace
