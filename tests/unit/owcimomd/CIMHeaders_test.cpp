// SPDX-License-Identifier: Apache-2.0
//
// What header fields say about the CIM message, and the refusals of what they may not say.
#include "owcimomd/http/CIMHeaders.hpp"

#include <gmock/gmock.h>

#include "owcimomd/http/Authenticator.hpp"

namespace OwCimomd {
namespace {

using ::testing::Contains;
using ::testing::Pair;

HttpRequest request(std::map<String, String> fields = {}) {
    HttpRequest result{"POST", "/cimom", true, true, {}};
    result.fields = {{"content-type", "application/xml; charset=\"utf-8\""},
                     {"cimoperation", "MethodCall"},
                     {"cimmethod", "GetClass"},
                     {"cimobject", "root%2Fcimv2"}};
    for (auto& [name, value] : fields) {
        result.fields[name] = value;
    }
    return result;
}

CIMXML::Request message(const String& method, const String& ns) {
    CIMXML::Request result;
    result.method = method;
    result.ns = ns;
    return result;
}

CIMHeaders accepted(const HttpRequest& request) {
    auto headers = CIMHeaders::read(request);
    if (const auto* refusal = std::get_if<HttpRefusal>(&headers)) {
        ADD_FAILURE() << refusal->status << " " << refusal->text;
        return {};
    }
    return std::get<CIMHeaders>(headers);
}

TEST(CIMHeaders, AreThoseOfTheMessage) {
    const CIMHeaders headers = accepted(request());
    EXPECT_FALSE(headers.mismatch(message("GetClass", "root/cimv2")));
    EXPECT_FALSE(headers.mismatch(message("GetClass", "ROOT/cimv2")));
    EXPECT_FALSE(headers.takesTrailers());
    EXPECT_THAT(headers.responseFields(), Contains(Pair("CIMOperation", "MethodResponse")));
    for (const auto& other : {message("GetInstance", "root/cimv2"), message("GetClass", "root")}) {
        const auto refusal = headers.mismatch(other);
        ASSERT_TRUE(refusal);
        EXPECT_EQ(400u, refusal->status);
        EXPECT_EQ("header-mismatch", refusal->cimError);
    }
}

TEST(CIMHeaders, MayBeWrittenInManyWays) {
    accepted(request({{"content-type", "text/xml"}}));
    accepted(request({{"content-type", "Application/XML; Charset=UTF-8"}}));
    accepted(request({{"accept", "text/plain, application/xml;q=0.5"}}));
    accepted(request({{"accept", "*/*"}}));
    accepted(request({{"cimoperation", "methodcall"}}));
    accepted(request({{"cimprotocolversion", "1.2"}}));
    EXPECT_TRUE(accepted(request({{"te", "deflate, trailers"}})).takesTrailers());
    EXPECT_FALSE(accepted(request({{"cimobject", "/root/cimv2"}}))
                     .mismatch(message("GetClass", "root/cimv2")));
}

struct Refusal {
    const char* name;
    std::map<String, String> fields;
    unsigned status;
    const char* cimError;
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.name;
}

class CIMHeadersRefused : public ::testing::TestWithParam<Refusal> {};

TEST_P(CIMHeadersRefused, WithStatusAndCIMError) {
    const auto headers = CIMHeaders::read(request(GetParam().fields));
    const auto* refusal = std::get_if<HttpRefusal>(&headers);
    ASSERT_NE(nullptr, refusal);
    EXPECT_EQ(GetParam().status, refusal->status);
    EXPECT_EQ(GetParam().cimError, refusal->cimError);
    EXPECT_NE("", refusal->text);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, CIMHeadersRefused,
    ::testing::Values(
        Refusal{"AnotherType", {{"content-type", "text/html"}}, 415, ""},
        Refusal{"NoType", {{"content-type", ""}}, 415, ""},
        Refusal{"AnotherCharset", {{"content-type", "text/xml; charset=latin1"}}, 415, ""},
        Refusal{"AnEncoding", {{"content-encoding", "gzip"}}, 415, ""},
        Refusal{"NothingAccepted", {{"accept", "text/html"}}, 406, ""},
        Refusal{"NoOperation", {{"cimoperation", ""}}, 400, "unsupported-operation"},
        Refusal{"ABatch", {{"cimbatch", "x"}}, 501, "multiple-requests-unsupported"},
        Refusal{"AnotherProtocol",
                {{"cimprotocolversion", "2.0"}},
                501,
                "unsupported-protocol-version"}),
    [](const auto& info) { return String(info.param.name); });

HttpRequest extended(const String& man) {
    HttpRequest result = request();
    result.method = "M-POST";
    result.fields = {{"content-type", "text/xml"},
                     {"man", man},
                     {"73-cimoperation", "MethodCall"},
                     {"73-cimmethod", "GetClass"},
                     {"73-cimobject", "root/cimv2"}};
    return result;
}

TEST(CIMHeaders, HaveAPrefixInTheExtensionFramework) {
    for (const char* man : {"http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73",
                            "\"http://www.dmtf.org/cim/mapping/http/v1.0\"; ns=73",
                            "urn:other ; ns=1, http://www.dmtf.org/cim/mapping/http/v1.0;ns=73"}) {
        const CIMHeaders headers = accepted(extended(man));
        EXPECT_FALSE(headers.mismatch(message("GetClass", "root/cimv2"))) << man;
        EXPECT_THAT(headers.responseFields(), Contains(Pair("73-CIMOperation", "MethodResponse")));
        EXPECT_THAT(headers.responseFields(), Contains(Pair("Ext", "")));
        EXPECT_THAT(headers.responseFields(),
                    Contains(Pair("Man", "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73")));
    }
    for (const char* man : {"", "urn:other ; ns=73", "http://www.dmtf.org/cim/mapping/http/v1.0",
                            "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=a:b",
                            "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=12345"}) {
        const auto headers = CIMHeaders::read(extended(man));
        const auto* refusal = std::get_if<HttpRefusal>(&headers);
        ASSERT_NE(nullptr, refusal) << man;
        EXPECT_EQ(510u, refusal->status);
    }
}

TEST(CIMHeaders, EscapeWhatAFieldCannotHold) {
    EXPECT_EQ("a b%0D%0A%25%C3%A4", escaped("a b\r\n%ä"));
}

TEST(Credential, IsNameAndPassword) {
    const auto credential = Credential::parse("basic Z2FtZXM6YTpi");
    ASSERT_TRUE(credential);
    EXPECT_EQ("games", credential->user);
    EXPECT_EQ("a:b", credential->password);
}

TEST(Credential, HasOneSchemeAndForm) {
    for (const String& text :
         {String(), String("Digest Z2FtZXM6YTpi"), String("Basic Z2FtZXM="), String("Basic !!!!"),
          String("Basic"), "Basic " + String(2000, 'Z')}) {
        EXPECT_FALSE(Credential::parse(text)) << text;
    }
}

}  // namespace
}  // namespace OwCimomd
