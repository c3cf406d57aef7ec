// SPDX-License-Identifier: Apache-2.0
//
// Hostile texts: each gives a result or one error, soon.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/unit/privilege/Parsing.hpp"

namespace OpenWBEM::PrivilegeConfig {
namespace {

constexpr size_t HUGE_SIZE = size_t{100} * 1024 * 1024;

String repeated(const String& piece, size_t count) {
    String text;
    text.reserve(piece.size() * count);
    for (size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

TEST(PrivilegeHostile, AHugeTextIsRefusedUnread) {
    for (const char fill : {'a', '"', '{', '\0', '\xff', '#', ' '}) {
        EXPECT_EQ(errorOf("stat { " + String(HUGE_SIZE, fill)),
                  "1:1: the text and what it includes are larger than 4194304 bytes");
    }
}

TEST(PrivilegeHostile, ATextOfTheLargestSizeIsRead) {
    const String tail = " }";
    String text = "stat { ";
    text += String(MAX_TEXT_SIZE - text.size() - tail.size(), 'a') + tail;
    EXPECT_EQ(parsed(text).paths.at("stat").at(0).size(), MAX_TEXT_SIZE - 9);
    EXPECT_EQ(errorOf(text + " "),
              "1:1: the text and what it includes are larger than 4194304 bytes");
}

TEST(PrivilegeHostile, LongTokensOfEveryKindEndAtOnce) {
    const size_t size = MAX_TEXT_SIZE - 100;
    EXPECT_EQ(errorOf("stat { \"" + String(size, 'a')).substr(0, 23), "1:8: unterminated item:");
    EXPECT_EQ(errorOf("stat { \"" + String(size, '\0')), "1:9: an item cannot contain a zero byte");
    EXPECT_EQ(errorOf("stat { " + String(size, '\\')).substr(0, 4), "1:8:");
    EXPECT_EQ(errorOf("stat { " + String(size, '"')).substr(0, 5), "1:10:");
    EXPECT_EQ(errorOf("stat " + String(size, '{')), "1:7: expected an item or '}'; found '{'");
    EXPECT_EQ(errorOf(String(size, 'a')).substr(0, 24), "1:1: unknown keyword 'aa");
    EXPECT_LT(errorOf(String(size, 'a')).size(), 500U);
    EXPECT_EQ(errorOf("stat { " + String(size, '\x80') + "}"), "parsed");
}

TEST(PrivilegeHostile, ManySmallThingsAreNoTrouble) {
    EXPECT_EQ(parsed("stat { " + repeated("a ", 1000000) + "}").paths.at("stat").size(), 1000000U);
    EXPECT_EQ(parsed("user_exec_check_args { " + repeated("a @b ", 500000) + "}")
                  .user_exec_check_args.size(),
              500000U);
    EXPECT_EQ(parsed(repeated("stat {}", 500000)).paths.at("stat").size(), 0U);
    EXPECT_EQ(errorOf(repeated("\n", 1000000) + "x").substr(0, 10), "1000001:1:");
}

TEST(PrivilegeHostile, ATextThatIncludesItselfIsRefused) {
    EXPECT_EQ(errorOf("include { a }", {{"a", " include { a }"}}),
              "1:12: in the included text 'a': includes nest deeper than 16; does 'a' include "
              "itself?");
}

TEST(PrivilegeHostile, IncludesThatDoubleAreBounded) {
    std::map<String, String> texts{{"16", String(1000, ' ')}};
    for (int i = 1; i < 16; ++i) {
        const String next = std::to_string(i + 1);
        texts[std::to_string(i)] = repeated("include { " + next + " } ", 10);
    }
    EXPECT_EQ(errorOf("include { 1 }", texts),
              "1:1: in the included text '16': the text and what it includes are larger than "
              "4194304 bytes");
}

TEST(PrivilegeHostile, AnIncludedTextIsNotCutWhereTheLimitIs) {
    // Both are as long as whole blocks of what is read at a time.
    const String outer = "include { a }" + String(16384 - 13, ' ');
    const String filling(MAX_TEXT_SIZE - outer.size(), ' ');
    EXPECT_EQ(errorOf(outer, {{"a", filling}}), "parsed");
    EXPECT_EQ(errorOf(outer, {{"a", filling + "stat { a }"}}),
              "1:1: in the included text 'a': the text and what it includes are larger than "
              "4194304 bytes");
}

/// Never ends.
class EndlessBuffer : public std::streambuf {
protected:
    int_type underflow() override {
        setg(m_block, m_block, m_block + sizeof(m_block));
        return ' ';
    }

private:
    char m_block[4096] = {' '};
};

class BrokenBuffer : public std::streambuf {
protected:
    int_type underflow() override { throw std::runtime_error("I/O error"); }
};

/// Owns the buffer that it reads.
template <class Buffer>
class BufferStream : public std::istream {
public:
    BufferStream() : std::istream(nullptr) { rdbuf(&m_buffer); }

private:
    Buffer m_buffer;
};

template <class Stream>
class OneStream : public IncludeHandler {
public:
    std::unique_ptr<std::istream> getInclude(const String&) override {
        return std::make_unique<Stream>();
    }
    void endInclude() override {}
};

class MissingFile : public std::ifstream {
public:
    MissingFile() : std::ifstream("/proc/none") {}
};

class NoStream : public IncludeHandler {
public:
    std::unique_ptr<std::istream> getInclude(const String&) override { return nullptr; }
    void endInclude() override {}
};

String errorWith(IncludeHandler& handler) {
    Privileges p;
    try {
        openwbem_privconfig_parse("include { x }", handler, p);
        return "parsed";
    } catch (const ParseException& e) {
        return std::to_string(e.textLine()) + ":" + std::to_string(e.textColumn()) + ": " +
               e.getMessage();
    }
}

TEST(PrivilegeHostile, HandlersMayReturnAnything) {
    OneStream<BufferStream<EndlessBuffer>> endless;
    EXPECT_EQ(errorWith(endless),
              "1:1: in the included text 'x': the text and what it includes are larger than "
              "4194304 bytes");
    OneStream<BufferStream<BrokenBuffer>> broken;
    EXPECT_EQ(errorWith(broken), "1:11: the included text 'x' cannot be read");
    OneStream<MissingFile> missing;
    EXPECT_EQ(errorWith(missing), "1:11: the included text 'x' cannot be read");
    NoStream none;
    EXPECT_EQ(errorWith(none), "1:11: there is no text to include by the name 'x'");
}

TEST(PrivilegeHostile, MessagesHoldNothingThatATerminalObeys) {
    const String error = errorOf("\xc2\x9b\xff");
    EXPECT_EQ(error.substr(0, 27), "1:1: unknown keyword '?\xEF\xBF\xBD'");
}

TEST(PrivilegeHostile, CutAtEveryLengthItParsesOrExplainsItself) {
    const String text =
        "# c\nunpriv_user { a }\nstat { \"x\\\"\" /y }\nmonitored_exec_check_args { /p \"a\" @ n "
        "}\n";
    size_t parsedCount = 0;
    for (size_t size = 0; size <= text.size(); ++size) {
        const String error = errorOf(text.substr(0, size));
        parsedCount += error == "parsed" ? 1 : 0;
        EXPECT_NE(error, "");
    }
    // It parses only after a whole statement, and within a comment or white space between those.
    EXPECT_EQ(parsedCount, 11U);
}

}  // namespace
}  // namespace OpenWBEM::PrivilegeConfig
