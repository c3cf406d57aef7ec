// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/unit/privilege/Parsing.hpp"

namespace OpenWBEM::PrivilegeConfig {
namespace {

struct Row {
    String text;
    String error;
};

void expectErrors(const Array<Row>& rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(errorOf(row.text), row.error) << row.text;
    }
}

const String KEYWORDS =
    "unpriv_user include open_r open_w open_rw read_dir stat readlink mkdir rmdir link symlink "
    "unlink rename chmod chown monitored_exec_check_args user_exec_check_args";

TEST(PrivilegeErrors, AnUnknownKeywordIsNamedWithItsPlace) {
    expectErrors({
        {"stat { /a }\n  open_x { /b }",
         "2:3: unknown keyword 'open_x'; the keywords are " + KEYWORDS},
        {"Stat { /a }", "1:1: unknown keyword 'Stat'; the keywords are " + KEYWORDS},
        {"stat { /a } \xc3\xa9 x",
         "1:13: unknown keyword '\xc3\xa9'; the keywords are " + KEYWORDS},
    });
}

TEST(PrivilegeErrors, WhatIsMissingIsNamed) {
    expectErrors({
        {"stat", "1:5: expected '{'; found the end of the text"},
        {"stat /a", "1:6: unknown keyword '/a'; the keywords are " + KEYWORDS},
        {"stat stat {", "1:6: expected '{'; found 'stat'"},
        {"stat {\n/a\n", "3:1: expected an item or '}'; found the end of the text"},
        {"stat { /a\nopen_r { /b }", "2:8: expected an item or '}'; found '{'"},
        {"stat { /a } }", "1:13: expected a keyword; found '}'"},
        {"{", "1:1: expected a keyword; found '{'"},
        {"\"stat\" { /a }", "1:1: expected a keyword; found '\"'"},
        {"unpriv_user { }", "1:15: expected an item; found '}'"},
        {"unpriv_user { a b }", "1:17: expected '}'; found 'b'"},
        {"include { }", "1:11: expected an item; found '}'"},
        {"include { a b }", "1:13: expected '}'; found 'b'"},
        {"stat { @ }", "1:8: expected an item or '}'; found '@'"},
        {"user_exec_check_args { /a b }", "1:29: expected an item or '@'; found '}'"},
        {"user_exec_check_args { @ b }", "1:24: expected an item or '}'; found '@'"},
        {"user_exec_check_args { /a @ }", "1:29: expected an item; found '}'"},
        {"monitored_exec_check_args { /a @ b @ c }", "1:36: expected an item or '}'; found '@'"},
    });
}

TEST(PrivilegeErrors, ASecondUserIsRefused) {
    EXPECT_EQ(errorOf("unpriv_user { a }\nunpriv_user { a }"),
              "2:15: unpriv_user is given a second time");
    EXPECT_EQ(errorOf("unpriv_user { \"\" }\nunpriv_user { a }"),
              "2:15: unpriv_user is given a second time");
    EXPECT_EQ(errorOf("unpriv_user { a } include { i }", {{"i", "\nunpriv_user { b }"}}),
              "2:15: in the included text 'i': unpriv_user is given a second time");
}

TEST(PrivilegeErrors, WhatCouldBeMisreadIsRefused) {
    expectErrors({
        {"stat { /a\"b\" }", "1:10: '\"' inside an item: put the whole item into double quotes"},
        {"stat { /a\\ b }", "1:10: '\\' inside an item: put the whole item into double quotes"},
        {"stat { \\a }", "1:8: '\\' outside quotes: put the whole item into double quotes"},
        {"stat { \"a\"b }", "1:11: expected a blank between this and the item before it"},
        {"stat { \"a\"\"b\" }", "1:11: expected a blank between this and the item before it"},
        {"stat { \"a\"# }", "1:11: expected a blank between this and the item before it"},
        {"user_exec_check_args { \"a\"@ b }",
         "1:27: expected a blank between this and the item before it"},
    });
}

TEST(PrivilegeErrors, QuotesEndOnTheirLine) {
    expectErrors({
        {"stat { \"abc\n\" }", "1:8: unterminated item: expected '\"' before the end of the line"},
        {"stat { \"abc\\\n\" }",
         "1:8: unterminated item: expected '\"' before the end of the line"},
        {"stat { \"abc", "1:8: unterminated item: expected '\"' before the end of the line"},
        {"stat { \"abc\\\"", "1:8: unterminated item: expected '\"' before the end of the line"},
    });
}

TEST(PrivilegeErrors, EscapesAreChecked) {
    expectErrors({
        {"stat { \"ab\\q\" }",
         "1:11: unknown escape sequence: expected one of \\b \\t \\n \\f \\r \\\" \\' \\\\ \\x"},
        {"stat { \"\\xg\" }", "1:9: expected one to four hexadecimal digits after \\x"},
        {"stat { \"\\x0\" }", "1:9: a string cannot contain the character U+0000"},
        {"stat { \"\\xd800\" }", "1:9: one half of a surrogate pair is no character"},
    });
}

TEST(PrivilegeErrors, ControlCharactersOutsideQuotesAreRefused) {
    expectErrors({
        {"stat { /a\x07 }", "1:10: unexpected control character 0x07"},
        {"\x7fstat", "1:1: unexpected control character 0x7f"},
        {String("stat { \0 }", 10), "1:8: unexpected zero byte"},
        {String("stat\0{ }", 8), "1:5: unexpected zero byte"},
        {String("# a\0", 4), "1:4: unexpected zero byte"},
        {String("stat { \"a\0\" }", 13), "1:10: an item cannot contain a zero byte"},
    });
}

TEST(PrivilegeErrors, ALineEndsWithALineFeed) {
    EXPECT_EQ(errorOf("stat { /a }\r\n\r\nx { }").substr(0, 4), "3:1:");
}

TEST(PrivilegeErrors, ThePlaceInAnIncludedTextIsItsOwn) {
    EXPECT_EQ(
        errorOf("\n\n\nstat { } include { a }", {{"a", "stat {}\ninclude { b }"}, {"b", "\n x"}}),
        "2:2: in the included text 'b': unknown keyword 'x'; the keywords are " + KEYWORDS);
    EXPECT_EQ(errorOf("include { a } stat { /b }", {{"a", "stat {"}}),
              "1:7: in the included text 'a': expected an item or '}'; found the end of the text");
}

TEST(PrivilegeErrors, WhatTheHandlerThrowsPassesUnchanged) {
    MapIncludes handler;
    Privileges p{"old", {}, {}, {}};
    try {
        openwbem_privconfig_parse("unpriv_user { a } include { gone }", handler, p);
        FAIL() << "parsed";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "no text gone");
    }
    EXPECT_EQ(p, (Privileges{"old", {}, {}, {}}));
    EXPECT_EQ(handler.calls, StringArray{"get gone"});
}

TEST(PrivilegeErrors, AFailureLeavesTheResultAsItWas) {
    MapIncludes handler;
    Privileges p{"old", {{"stat", {"/old"}}}, {}, {}};
    EXPECT_THROW(openwbem_privconfig_parse("unpriv_user { a } stat {", handler, p), ParseException);
    EXPECT_EQ(p, (Privileges{"old", {{"stat", {"/old"}}}, {}, {}}));
}

TEST(PrivilegeErrors, TheExceptionCanBeKeptAndThrownAgain) {
    const ParseException e("f.cpp", 7, "wrong", 3, 4);
    const std::unique_ptr<blocxx::Exception> copy(e.clone());
    try {
        copy->rethrow();
    } catch (const ParseException& again) {
        EXPECT_EQ(again.textLine(), 3U);
        EXPECT_EQ(again.textColumn(), 4U);
        EXPECT_STREQ(again.getMessage(), "wrong");
        EXPECT_STREQ(again.type(), "ParseException");
    }
}

}  // namespace
}  // namespace OpenWBEM::PrivilegeConfig
