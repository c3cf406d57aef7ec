// SPDX-License-Identifier: Apache-2.0
//
// HTTP requests taken apart, whole and byte by byte.
#include "owcimomd/http/HttpParser.hpp"

#include <gtest/gtest.h>

namespace OwCimomd {
namespace {

using State = HttpParser::State;

/// Feeds the parser as a reader does: what it leaves comes again with more behind it.
String feed(HttpParser& parser, const String& text, size_t step, size_t limit = 1000) {
    String waiting;
    for (size_t at = 0; at < text.size(); at += step) {
        waiting += text.substr(at, step);
        waiting.erase(0, parser.put(waiting));
        if (parser.state() == State::HAS_HEADER) {
            parser.readBody(limit);
            waiting.erase(0, parser.put(waiting));
        }
    }
    return waiting;
}

const String REQUEST =
    "POST /cimom HTTP/1.1\r\n"
    "Host: here\r\n"
    "CIMMethod: GetClass\r\n"
    "Accept: a\r\n"
    "accept: b\r\n"
    "Content-Length: 5\r\n"
    "\r\n"
    "hello";

TEST(HttpParser, TakesARequestApartHoweverItArrives) {
    for (const size_t step : {size_t(1), size_t(2), size_t(7), REQUEST.size()}) {
        HttpParser parser;
        EXPECT_EQ("", feed(parser, REQUEST, step));
        ASSERT_EQ(State::DONE, parser.state()) << step;
        EXPECT_EQ("POST", parser.request().method);
        EXPECT_EQ("/cimom", parser.request().target);
        EXPECT_TRUE(parser.request().isVersion11);
        EXPECT_TRUE(parser.request().keepsAlive);
        EXPECT_EQ("GetClass", parser.request().field("cimmethod"));
        EXPECT_EQ("a, b", parser.request().field("accept"));
        EXPECT_TRUE(parser.request().has("host"));
        EXPECT_FALSE(parser.request().has("Host"));
        EXPECT_EQ("", parser.request().field("none"));
        EXPECT_EQ("hello", parser.takeBody());
    }
}

TEST(HttpParser, StopsBehindTheHeaderUntilTheBodyIsWanted) {
    HttpParser parser;
    const size_t taken = parser.put(REQUEST);
    EXPECT_EQ(REQUEST.size() - 5, taken);
    EXPECT_EQ(State::HAS_HEADER, parser.state());
    EXPECT_TRUE(parser.hasBody());
    EXPECT_EQ(5u, parser.bodySize(1000));
    EXPECT_EQ(0u, parser.put("hello"));
}

TEST(HttpParser, LeavesTheNextRequestAlone) {
    HttpParser parser;
    EXPECT_EQ("GET / HTTP", feed(parser, REQUEST + "GET / HTTP", 1000));
    EXPECT_EQ(State::DONE, parser.state());
}

TEST(HttpParser, PutsChunksTogether) {
    for (const size_t step : {size_t(1), size_t(5), size_t(1000)}) {
        HttpParser parser;
        EXPECT_EQ("", feed(parser,
                           "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n"
                           "5;what=ever\r\nhello\r\n6\r\n world\r\n0\r\nTrailer: yes\r\n\r\n",
                           step));
        ASSERT_EQ(State::DONE, parser.state()) << step;
        EXPECT_EQ("hello world", parser.takeBody());
    }
}

TEST(HttpParser, KnowsWhoseConnectionEnds) {
    const auto keeps = [](const String& text) {
        HttpParser parser;
        parser.put(text);
        EXPECT_EQ(State::HAS_HEADER, parser.state());
        return parser.request().keepsAlive;
    };
    EXPECT_TRUE(keeps("OPTIONS / HTTP/1.1\r\nHost: h\r\n\r\n"));
    EXPECT_FALSE(keeps("OPTIONS / HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n"));
    EXPECT_FALSE(keeps("OPTIONS / HTTP/1.0\r\n\r\n"));
}

TEST(HttpParser, KnowsWhoWaitsToBeTold) {
    const auto waits = [](const String& text) {
        HttpParser parser;
        parser.put(text);
        EXPECT_EQ(State::HAS_HEADER, parser.state());
        return parser.request().expectsContinue();
    };
    EXPECT_TRUE(waits("POST / HTTP/1.1\r\nHost: h\r\nExpect: 100-Continue\r\n\r\n"));
    EXPECT_FALSE(waits("POST / HTTP/1.1\r\nHost: h\r\nExpect: wonders\r\n\r\n"));
    EXPECT_FALSE(waits("POST / HTTP/1.1\r\nHost: h\r\n\r\n"));
    // HTTP 1.0 knows no such response, whatever the client says.
    EXPECT_FALSE(waits("POST / HTTP/1.0\r\nExpect: 100-continue\r\n\r\n"));
}

TEST(HttpParser, HasNoBodyWithoutALength) {
    HttpParser parser;
    parser.put("POST / HTTP/1.1\r\nHost: h\r\n\r\n");
    ASSERT_EQ(State::HAS_HEADER, parser.state());
    EXPECT_FALSE(parser.hasBody());
    parser.readBody(10);
    EXPECT_EQ(State::DONE, parser.state());
    EXPECT_EQ("", parser.takeBody());
}

struct Refusal {
    const char* name;
    String text;
    unsigned status;
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.name;
}

class HttpParserRefuses : public ::testing::TestWithParam<Refusal> {};

TEST_P(HttpParserRefuses, WithAStatus) {
    HttpParser parser;
    feed(parser, GetParam().text, 1000, 10);
    ASSERT_EQ(State::FAILED, parser.state());
    EXPECT_EQ(GetParam().status, parser.failure());
    EXPECT_EQ(0u, parser.put("GET / HTTP/1.1\r\nHost: h\r\n\r\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, HttpParserRefuses,
    ::testing::Values(
        Refusal{"Garbage", "\x16\x03\x01\x02\r\n\r\n", 400},
        Refusal{"AnotherVersion", "GET / HTTP/2.0\r\n\r\n", 505},
        Refusal{"ALargeHeader",
                "GET / HTTP/1.1\r\nHost: h\r\nA: " + String(20000, 'a') + "\r\n\r\n", 431},
        Refusal{"ALargeBody", "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 11\r\n\r\n", 413},
        Refusal{"AHugeBody",
                "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 18446744073709551615\r\n\r\n", 413},
        Refusal{"ALargeChunk",
                "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\nb\r\nhello "
                "world\r\n0\r\n\r\n",
                413},
        Refusal{"ManyChunks",
                "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n"
                "6\r\nhello \r\n6\r\nworld!\r\n0\r\n\r\n",
                413},
        Refusal{"TwoLengths",
                "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
                400},
        Refusal{
            "LengthAndChunks",
            "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n",
            400},
        Refusal{"ANegativeLength", "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: -1\r\n\r\n", 400},
        Refusal{"AFieldWithoutName", "GET / HTTP/1.1\r\nHost: h\r\n: a\r\n\r\n", 400},
        Refusal{"NoHost", "GET / HTTP/1.1\r\n\r\n", 400},
        Refusal{"TwoHosts", "GET / HTTP/1.1\r\nHost: h\r\nHost: h\r\n\r\n", 400},
        Refusal{"TwoHostsOfOld", "GET / HTTP/1.0\r\nHost: h\r\nHost: i\r\n\r\n", 400},
        Refusal{"AnOddChunk",
                "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n", 400}),
    [](const auto& info) { return String(info.param.name); });

}  // namespace
}  // namespace OwCimomd
