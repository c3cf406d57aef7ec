// SPDX-License-Identifier: Apache-2.0
#include "openwbem/text/Literals.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace OpenWBEM {
namespace {

Text tokenOf(const String& token) {
    return {token.data(), static_cast<uint32_t>(token.size())};
}

/// "OFFSET: MESSAGE" of the failure to read the token, or "nothing".
template <class Read>
String failureOf(const String& token, Read read) {
    try {
        read(tokenOf(token));
        return "nothing";
    } catch (const CompileError& e) {
        return std::to_string(e.at - token.data()) + ": " + e.what;
    }
}

TEST(ReadInteger, KnowsEveryBase) {
    struct Row {
        const char* token;
        bool negative;
        uint64_t magnitude;
    };
    const Row rows[] = {{"0", false, 0},
                        {"-12", true, 12},
                        {"+7", false, 7},
                        {"017", false, 15},
                        {"0x1F", false, 31},
                        {"-0X1f", true, 31},
                        {"101b", false, 5},
                        {"-11B", true, 3},
                        {"18446744073709551615", false, std::numeric_limits<uint64_t>::max()}};
    for (const Row& row : rows) {
        const IntegerLiteral number = readInteger(row.token);
        EXPECT_EQ(number.negative, row.negative) << row.token;
        EXPECT_EQ(number.magnitude, row.magnitude) << row.token;
        EXPECT_FALSE(number.tooLarge) << row.token;
    }
    EXPECT_TRUE(readInteger("18446744073709551616").tooLarge);
}

TEST(ReadString, UnescapesWhatStandsInQuotes) {
    const std::pair<const char*, const char*> rows[] = {{R"("")", ""},
                                                        {R"("plain")", "plain"},
                                                        {R"("\"\\\'")", "\"\\'"},
                                                        {R"("\b\t\n\f\r")", "\b\t\n\f\r"},
                                                        {R"("\x41\X0042z")", "ABz"},
                                                        {R"("\xD83D\xDE00")", "\xF0\x9F\x98\x80"}};
    for (const auto& [token, text] : rows) {
        EXPECT_EQ(readString(tokenOf(token)), text) << token;
    }
    String text = "kept ";
    appendString(text, tokenOf(R"("and \x0061dded")"));
    EXPECT_EQ(text, "kept and added");
}

TEST(ReadString, SaysWhereAnEscapeIsWrong) {
    const auto read = [](const Text& token) { readString(token); };
    EXPECT_EQ(failureOf(R"("a\q")", read),
              "2: unknown escape sequence: expected one of \\b \\t \\n \\f \\r \\\" \\' \\\\ \\x");
    EXPECT_EQ(failureOf(R"("\xg")", read), "1: expected one to four hexadecimal digits after \\x");
    EXPECT_EQ(failureOf(R"("ab\x0")", read), "3: a string cannot contain the character U+0000");
    EXPECT_EQ(failureOf(R"("\xD83Dx")", read), "1: one half of a surrogate pair is no character");
}

TEST(ReadChar, TakesOneCodeUnit) {
    EXPECT_EQ(readChar(tokenOf("'a'")), u'a');
    EXPECT_EQ(readChar(tokenOf("'\xE2\x82\xAC'")), u'\u20AC');
    EXPECT_EQ(readChar(tokenOf(R"('\x0')")), u'\0');
    EXPECT_EQ(readChar(tokenOf(R"('\xD83D')")), static_cast<char16_t>(0xD83D));
    const auto read = [](const Text& token) { readChar(token); };
    EXPECT_EQ(failureOf("''", read), "0: expected one character between the quotes");
    EXPECT_EQ(failureOf("'ab'", read), "0: expected one character between the quotes");
    EXPECT_EQ(failureOf("'\xF0\x9F\x98\x80'", read),
              "0: a char16 holds characters up to U+FFFF only");
}

TEST(ReadReal, RefusesWhatIsOutOfRange) {
    float single = 0;
    double real = 0;
    EXPECT_TRUE(readReal("+1.5e2", real));
    EXPECT_EQ(real, 150.0);
    EXPECT_TRUE(readReal("-3", single));
    EXPECT_EQ(single, -3.0F);
    EXPECT_FALSE(readReal("1.0e39", single));
    EXPECT_FALSE(readReal("1.0e309", real));
}

TEST(FailQuoted, TellsAZeroByteFromAMissingQuote) {
    const auto failing = [](const char* what) {
        return [what](const Text& token) { failQuoted(token.data, token.end(), what); };
    };
    EXPECT_EQ(failureOf("\"ab\ncd\"", failing("a string literal")),
              "0: unterminated string literal: expected '\"' before the end of the line");
    EXPECT_EQ(failureOf("'ab", failing("a character literal")),
              "0: unterminated character literal: expected \"'\" before the end of the line");
    EXPECT_EQ(failureOf(String("\"a\0b\"", 5), failing("an item")),
              "2: an item cannot contain a zero byte");
}

}  // namespace
}  // namespace OpenWBEM
