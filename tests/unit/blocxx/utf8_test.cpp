// SPDX-License-Identifier: Apache-2.0
//
// UTF-8: what is valid, and conversion both ways.
#include "blocxx/Utf8.hpp"

#include <gtest/gtest.h>

namespace blocxx {
namespace {

constexpr size_t VALID = std::string_view::npos;

TEST(Utf8Test, TheFirstInvalidByteIsFound) {
    struct Row {
        std::string_view text;
        size_t invalid;
    };
    constexpr Row ROWS[] = {
        {"", VALID},
        {"plain ascii text, longer than a block", VALID},
        {"\xC2\x80\xDF\xBF", VALID},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", VALID},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", VALID},
        {"\x80", 0},
        {"\xC0\x80", 0},
        {"\xC1\xBF", 0},
        {"\xC2", 0},
        {"\xC2\x41", 0},
        {"\xE0\x9F\xBF", 0},
        {"\xED\xA0\x80", 0},
        {"\xE1\x80", 0},
        {"\xE1\x80\x41", 0},
        {"\xF0\x8F\xBF\xBF", 0},
        {"\xF4\x90\x80\x80", 0},
        {"\xF1\x80\x80", 0},
        {"\xF5\x80\x80\x80", 0},
        {"\xFF", 0},
        {"12345678\xFF", 8},
        {"1234567\xC3\xA4\xFF", 9},
    };
    for (const Row& row : ROWS) {
        EXPECT_EQ(row.invalid, Utf8::findInvalid(row.text)) << row.text;
    }
}

TEST(Utf8Test, EveryScalarValueComesBack) {
    for (uint32_t codePoint = 0; codePoint <= 0x110000; ++codePoint) {
        String text;
        const bool scalar = codePoint < 0xD800 || (codePoint > 0xDFFF && codePoint < 0x110000);
        ASSERT_EQ(scalar, Utf8::append(text, codePoint)) << codePoint;
        ASSERT_EQ(scalar, !text.empty());
        if (scalar) {
            ASSERT_EQ(VALID, Utf8::findInvalid(text)) << codePoint;
            ASSERT_EQ(text.size(), Utf8::lengthAt(text, 0));
            size_t offset = 0;
            ASSERT_EQ(codePoint, Utf8::next(text, offset));
            ASSERT_EQ(text.size(), offset);
        }
    }
}

}  // namespace
}  // namespace blocxx
