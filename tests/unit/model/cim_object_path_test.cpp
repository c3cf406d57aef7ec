// SPDX-License-Identifier: Apache-2.0
//
// Object paths: conversion to text and back, hostile texts, comparison and canonical keys.
#include "openwbem/model/CIMObjectPath.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMInstance.hpp"

namespace OpenWBEM {
namespace {

String messageOf(std::string_view text) {
    try {
        CIMObjectPath::parse(text);
    } catch (const CIMException& e) {
        EXPECT_EQ(CIMException::INVALID_PARAMETER, e.getErrNo());
        return e.getMessage();
    }
    return "no exception";
}

class PathText : public ::testing::TestWithParam<const char*> {};

TEST_P(PathText, IsTheTextOfTheParsedPath) {
    EXPECT_EQ(GetParam(), CIMObjectPath::parse(GetParam()).toString());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, PathText,
    ::testing::Values("Class", "root:Class", "root/cimv2/a-b.c:Class", "//host/Class",
                      "//host/root:Class", "//[::1]:5989/root/x:Class.a=1", "_C1.k=\"v\"",
                      "A.k=\"\"", "A.k=\"a:b.c,d=e\",l=TRUE,m=FALSE", R"(A.k="\"\\")",
                      R"(A.k="ns:B.x=\"y\",z=1")", "A.k='x'", R"(A.k='\'')", R"(A.k='\\')",
                      R"(A.k='\xD800')", "A.k='\"'", "A.k=18446744073709551615",
                      "A.k=-9223372036854775808", "A.k=0", "A.k=1.0", "A.k=-1.5e-300", "A.k=-0.0",
                      "\xC3\xA4.\xC3\xB6=\"\xC3\xBC\n\"", "a.b.c:D.e=1"));

TEST(CIMObjectPathTest, ThePartsOfATextAreFound) {
    const auto path = CIMObjectPath::parse("//h/root/kov:Foo.A=\"x,y=z\",b=-7,c=true");
    EXPECT_EQ("h", path.getHost());
    EXPECT_EQ("root/kov", path.getNameSpace());
    EXPECT_EQ("Foo", path.getClassName());
    EXPECT_EQ(3U, path.getKeys().size());
    EXPECT_TRUE(path.getKeyValue("a") == CIMValue("x,y=z"));
    EXPECT_TRUE(path.getKeyValue("B") == CIMValue(int64_t{-7}));
    EXPECT_TRUE(path.getKeyValue("C") == CIMValue(true));
    EXPECT_TRUE(path.getKeyValue("d").isNull());
    EXPECT_EQ("Foo.A=\"x,y=z\",b=-7,c=TRUE", path.modelPath());
    EXPECT_FALSE(path.isClassPath());
    EXPECT_TRUE(CIMObjectPath::parse("ns:C").isClassPath());
}

TEST(CIMObjectPathTest, OtherSpellingsOfAValueAreUnderstood) {
    EXPECT_TRUE(CIMObjectPath::parse("A.k=+5") == CIMObjectPath::parse("A.k=5"));
    EXPECT_TRUE(CIMObjectPath::parse("A.k=-0") == CIMObjectPath::parse("A.k=0"));
    EXPECT_TRUE(CIMObjectPath::parse("A.k=.5E1") == CIMObjectPath::parse("A.k=5.0"));
    EXPECT_TRUE(CIMObjectPath::parse("A.k='\xC3\xA4'") == CIMObjectPath::parse("A.k='\\x00e4'"));
}

struct BadText {
    const char* text;
    int column;
    const char* expected;
};

class RefusedPath : public ::testing::TestWithParam<BadText> {};

TEST_P(RefusedPath, TellsTheColumnAndWhatWasExpected) {
    const String message = messageOf(GetParam().text);
    const String place = "column " + std::to_string(GetParam().column) + ": expected ";
    EXPECT_NE(String::npos, message.find(place + GetParam().expected)) << GetParam().text << "\n"
                                                                       << message;
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RefusedPath,
    ::testing::Values(
        BadText{"", 1, "a class name"}, BadText{"1A", 1, "a class name"},
        BadText{"/ns:A", 1, "a name in front of \"/\""}, BadText{":A", 1, "a namespace name"},
        BadText{"a//b:A", 3, "a name in front of \"/\""}, BadText{"a/:A", 3, "a namespace name"},
        BadText{"//", 3, "a host name"}, BadText{"///x", 3, "a host name"},
        BadText{"//h", 4, "\"/\" after the host name"}, BadText{"//h/", 5, "a class name"},
        BadText{"ns:", 4, "a class name"}, BadText{"A B", 2, "\".\" or the end"},
        BadText{"A.", 3, "a key name"}, BadText{"A.=1", 3, "a key name"},
        BadText{"A.k", 4, "\"=\" after the key name"}, BadText{"A.k=", 5, "a key value"},
        BadText{"A.k=x", 5, "a key value"}, BadText{"A.k=NULL", 5, "a key value"},
        BadText{"A.k=1,", 7, "a key name"}, BadText{"A.k=1 ,l=2", 6, "\",\" or the end"},
        BadText{"A.k=\"x", 7, "a closing \""}, BadText{"A.k=\"x\\", 8, "\\ or \" after \\"},
        BadText{"A.k=\"x\\n\"", 8, "\\ or \" after \\"}, BadText{"A.k=''", 6, "a character"},
        BadText{"A.k='", 6, "a character"}, BadText{"A.k='x", 7, "a closing '"},
        BadText{"A.k='xy'", 7, "a closing '"}, BadText{"A.k='\\x12'", 7, "\\, ', \" or x"},
        BadText{"A.k='\\x12'345", 7, "\\, ', \" or x"}, BadText{"A.k='\\", 7, "\\, ', \" or x"},
        BadText{"A.k='\\x", 7, "\\, ', \" or x"}, BadText{"A.k='\\x-123'", 7, "\\, ', \" or x"},
        BadText{"A.k='\xF0\x9F\x98\x80'", 6, "a character of 16 bits"},
        BadText{"A.k=18446744073709551616", 5, "a number in the range"},
        BadText{"A.k=-9223372036854775809", 5, "a number in the range"},
        BadText{"A.k=007", 5, "a decimal number without leading zeros"},
        BadText{"A.k=0x10", 5, "a decimal number without leading zeros"},
        BadText{"A.k=5x", 5, "a decimal number"}, BadText{"A.k=+-5", 6, "a digit"},
        BadText{"A.k=-", 5, "a decimal number"}, BadText{"A.k=+", 5, "a decimal number"},
        BadText{"A.k=1.", 5, "a real number with a digit"},
        BadText{"A.k=1.0e", 5, "a decimal number"},
        BadText{"A.k=1.0e999", 5, "a number in the range"},
        BadText{"A.k=1,l=2,K=3", 11, "a key that is not given already"},
        BadText{"\xC3\xA4 ", 2, "\".\" or the end"},
        BadText{"A.k=\"\xC3\xA4\xFF\"", 7, "valid UTF-8"}));

TEST(CIMObjectPathTest, AZeroByteIsRefused) {
    EXPECT_NE(String::npos, messageOf(std::string_view("A\0", 2)).find("column 2: expected valid"));
}

TEST(CIMObjectPathTest, AMessageAboutALongTextIsShort) {
    EXPECT_LT(messageOf("A.k=\"" + String(1000000, 'x')).size(), 500U);
}

TEST(CIMObjectPathTest, ALongTextWithManyKeysIsReadInGoodTime) {
    String text = "A.k0=0";
    for (int i = 1; i < 100000; ++i) {
        text += ",k" + std::to_string(i) + "=" + std::to_string(i);
    }
    const auto start = std::chrono::steady_clock::now();
    const auto path = CIMObjectPath::parse(text);
    EXPECT_EQ(text, path.toString());
    EXPECT_FALSE(path.canonicalKey().empty());
    EXPECT_NE("no exception", messageOf(text + ",K5=1"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(CIMObjectPathTest, AMegabyteOfQuotesComesBack) {
    CIMObjectPath inner("B");
    inner.setKeyValue("k", CIMValue(String(1 << 20, '"')));
    CIMObjectPath outer("A");
    outer.setKeyValue("r", CIMValue(inner.toString()));
    EXPECT_TRUE(CIMObjectPath::parse(outer.toString()) == outer);
}

TEST(CIMObjectPathTest, ComparisonIgnoresSpellingAndOrderOfNamesOnly) {
    const auto path = CIMObjectPath::parse("Ns:Foo.a=\"x\",b=2");
    EXPECT_TRUE(path == CIMObjectPath::parse("nS:fOO.B=2,A=\"x\""));
    EXPECT_FALSE(path == CIMObjectPath::parse("ns:Foo.a=\"X\",b=2"));
    EXPECT_FALSE(path == CIMObjectPath::parse("ns:Foo.a=\"x\""));
    EXPECT_FALSE(path == CIMObjectPath::parse("other:Foo.a=\"x\",b=2"));
    EXPECT_FALSE(path == CIMObjectPath::parse("//h/ns:Foo.a=\"x\",b=2"));
    EXPECT_FALSE(path == CIMObjectPath::parse("ns:Foo"));
}

TEST(CIMObjectPathTest, ANullPathHasEmptyParts) {
    const CIMObjectPath null;
    EXPECT_FALSE(null);
    EXPECT_EQ("", null.toString());
    EXPECT_TRUE(null.isClassPath());
    EXPECT_TRUE(null == CIMObjectPath());
}

TEST(CIMObjectPathTest, AnInstanceGivesItsKeysOnly) {
    CIMInstance instance("Foo");
    CIMProperty key("Id", CIMDataType::UINT8, CIMValue(uint8_t{3}));
    key.setKey(true).setQualifiers({CIMQualifier("Key", CIMValue(true))});
    instance.setProperty(key).setProperty("Other", CIMValue("x"));
    const CIMObjectPath path("kov", instance);
    EXPECT_EQ("kov:Foo.Id=3", path.toString());
    EXPECT_TRUE(path.getKeys()[0].getQualifiers().empty());
}

TEST(CIMObjectPathTest, SettingAKeyReplacesTheOneOfThatName) {
    CIMObjectPath path("A");
    path.setKeyValue("k", CIMValue("1")).setKeyValue("l", CIMValue(true));
    const CIMObjectPath before = path;
    path.setKeyValue("K", CIMValue("2"));
    EXPECT_EQ("A.K=\"2\",l=TRUE", path.toString());
    EXPECT_EQ("A.k=\"1\",l=TRUE", before.toString());
}

TEST(CIMObjectPathTest, ThePathIsWrittenToStreams) {
    std::ostringstream out;
    out << CIMObjectPath("A", "ns");
    EXPECT_EQ("ns:A", out.str());
}

TEST(CIMObjectPathTest, CanonicalKeysOfOneInstanceAreTheSame) {
    const auto key = [](const char* text) { return CIMObjectPath::parse(text).canonicalKey(); };
    EXPECT_EQ(key("Foo.a=\"x\",B=2"), key("//host/other:FOO.b=2,A=\"x\""));
    EXPECT_NE(key("Foo.a=\"x\""), key("Foo.a=\"X\""));
    EXPECT_NE(key("Foo.a=\"x\""), key("Bar.a=\"x\""));
    EXPECT_NE(key("Foo.a=\"x\",b=\"y\""), key("Foo.a=\"x\\\",b=\\\"y\""));
    EXPECT_NE(key("Foo.a=1"), key("Foo.a=\"1\""));
}

TEST(CIMObjectPathTest, CanonicalKeysLookThroughReferences) {
    const auto link = [](const char* target, const char* ns) {
        CIMObjectPath path("Link", ns);
        path.setKeyValue("r", CIMValue(CIMObjectPath::parse(target)));
        return path.canonicalKey();
    };
    EXPECT_EQ(link("Foo.a=1,b=\"x\"", "ns"), link("NS:foo.B=\"x\",A=1", "other"));
    EXPECT_NE(link("Foo.a=1", "ns"), link("Foo.a=1", "other"));
    EXPECT_NE(link("Foo.a=\"x\"", "ns"), link("Foo.a=\"X\"", "ns"));
    EXPECT_NE(link("//h/Foo.a=1", "ns"), link("Foo.a=1", "ns"));
    // A reference within a reference gets the namespace of the path that contains it.
    CIMObjectPath middle("Mid", "m");
    middle.setKeyValue("r", CIMValue(CIMObjectPath::parse("Foo.a=1")));
    CIMObjectPath middleFull("Mid", "m");
    middleFull.setKeyValue("r", CIMValue(CIMObjectPath::parse("m:Foo.a=1")));
    EXPECT_EQ(CIMObjectPath("L", "ns").setKeyValue("r", CIMValue(middle)).canonicalKey(),
              CIMObjectPath("L", "ns").setKeyValue("r", CIMValue(middleFull)).canonicalKey());
}

}  // namespace
}  // namespace OpenWBEM
