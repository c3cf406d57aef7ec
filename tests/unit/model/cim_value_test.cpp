// SPDX-License-Identifier: Apache-2.0
//
// Values: their types, checks, arrays, text and comparison.
#include "openwbem/model/CIMValue.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

namespace OpenWBEM {
namespace {

template <class T>
void expectHolds(const T& content, CIMDataType::Type type, const String& text) {
    const CIMValue value(content);
    EXPECT_EQ(type, value.getType());
    EXPECT_FALSE(value.isArray());
    EXPECT_TRUE(value.get<T>() == content);
    EXPECT_EQ(text, value.toString());
    const CIMValue array = CIMValue::array<T>({content, content}, {false, true});
    EXPECT_EQ(type, array.getType());
    EXPECT_TRUE(array.isArray());
    EXPECT_EQ(2U, array.getArraySize());
    EXPECT_TRUE(array.getArray<T>()[0] == content);
    EXPECT_TRUE(array.getArray<T>()[1] == T());
    EXPECT_TRUE(array.getElement(0) == value);
    EXPECT_TRUE(array.getElement(1).isNull());
    EXPECT_TRUE(array.isNullElement(1));
    EXPECT_EQ(text + ",", array.toString());
    EXPECT_TRUE(array == CIMValue::arrayOf(type, {value, CIMValue()}));
}

TEST(CIMValueTest, EveryTypeIsHeldAloneAndInArrays) {
    expectHolds<bool>(true, CIMDataType::BOOLEAN, "TRUE");
    expectHolds<uint8_t>(255, CIMDataType::UINT8, "255");
    expectHolds<int8_t>(-128, CIMDataType::SINT8, "-128");
    expectHolds<uint16_t>(65535, CIMDataType::UINT16, "65535");
    expectHolds<int16_t>(-32768, CIMDataType::SINT16, "-32768");
    expectHolds<uint32_t>(4294967295U, CIMDataType::UINT32, "4294967295");
    expectHolds<int32_t>(-2147483647 - 1, CIMDataType::SINT32, "-2147483648");
    expectHolds<uint64_t>(UINT64_MAX, CIMDataType::UINT64, "18446744073709551615");
    expectHolds<int64_t>(INT64_MIN, CIMDataType::SINT64, "-9223372036854775808");
    expectHolds<float>(0.1F, CIMDataType::REAL32, "0.1");
    expectHolds<double>(-1e300, CIMDataType::REAL64, "-1.0e+300");
    expectHolds<Char16>(Char16{u'x'}, CIMDataType::CHAR16, "x");
    expectHolds<String>("text", CIMDataType::STRING, "text");
    expectHolds<CIMDateTime>(CIMDateTime("20240229120000.000000+060"), CIMDataType::DATETIME,
                             "20240229120000.000000+060");
    expectHolds<CIMObjectPath>(CIMObjectPath("A", "ns"), CIMDataType::REFERENCE, "ns:A");
    expectHolds<CIMInstance>(CIMInstance("A"), CIMDataType::EMBEDDEDINSTANCE, "instance of A { }");
    expectHolds<CIMClass>(CIMClass("A"), CIMDataType::EMBEDDEDCLASS, "class A");
}

TEST(CIMValueTest, TheNullValueHasNoTypeAndNoText) {
    const CIMValue null;
    EXPECT_FALSE(null);
    EXPECT_EQ(CIMDataType::INVALID, null.getType());
    EXPECT_FALSE(null.isArray());
    EXPECT_EQ(0U, null.getArraySize());
    EXPECT_EQ("", null.toString());
    EXPECT_TRUE(null.getElement(0).isNull());
    EXPECT_TRUE(null == CIMValue());
    EXPECT_FALSE(null == CIMValue(false));
    EXPECT_THROW(null.get<bool>(), ValueCastException);
}

TEST(CIMValueTest, AnotherTypeIsNeverTakenForTheAskedOne) {
    EXPECT_THROW(CIMValue(uint8_t{1}).get<uint16_t>(), ValueCastException);
    EXPECT_THROW(CIMValue("1").get<uint64_t>(), ValueCastException);
    EXPECT_THROW(CIMValue(true).getArray<bool>(), ValueCastException);
    EXPECT_THROW(CIMValue::array<bool>({true}).get<bool>(), ValueCastException);
    EXPECT_FALSE(CIMValue(uint8_t{1}) == CIMValue(uint16_t{1}));
    EXPECT_FALSE(CIMValue(true) == CIMValue::array<bool>({true}));
}

TEST(CIMValueTest, IntegersOfEveryWidthAreNumbers) {
    EXPECT_EQ(-5, CIMValue(int8_t{-5}).toSigned());
    EXPECT_EQ(5, CIMValue(uint64_t{5}).toSigned());
    EXPECT_EQ(UINT64_MAX, CIMValue(UINT64_MAX).toUnsigned());
    EXPECT_THROW(CIMValue(UINT64_MAX).toSigned(), ValueCastException);
    EXPECT_THROW(CIMValue(int8_t{-5}).toUnsigned(), ValueCastException);
    EXPECT_THROW(CIMValue(true).toUnsigned(), ValueCastException);
    EXPECT_THROW(CIMValue(1.0).toSigned(), ValueCastException);
    EXPECT_THROW(CIMValue().toSigned(), ValueCastException);
    EXPECT_THROW(CIMValue::array<uint8_t>({1}).toSigned(), ValueCastException);
}

TEST(CIMValueTest, WhatMofCannotSayIsRefused) {
    EXPECT_THROW(CIMValue(std::nan("")), CIMException);
    EXPECT_THROW(CIMValue{std::numeric_limits<float>::infinity()}, CIMException);
    EXPECT_THROW(CIMValue(String("a\0b", 3)), CIMException);
    EXPECT_THROW(CIMValue("\xFF"), CIMException);
    EXPECT_THROW(CIMValue::array<String>({"good", "\xC0\x80"}), CIMException);
    EXPECT_THROW(CIMValue{CIMObjectPath()}, CIMException);
    EXPECT_THROW(CIMValue{CIMInstance()}, CIMException);
    EXPECT_THROW(CIMValue{CIMClass()}, CIMException);
    EXPECT_TRUE(CIMValue::isStorableString("\xC3\xA4 \r\n"));
}

TEST(CIMValueTest, AnElementMarkedAsNullIsNotLookedAt) {
    const CIMValue value = CIMValue::array<String>({"\xFF", "b"}, {true, false});
    EXPECT_TRUE(value == CIMValue::array<String>({"anything", "b"}, {true, false}));
    EXPECT_FALSE(value == CIMValue::array<String>({"", "b"}));
}

TEST(CIMValueTest, NullMarksMustBeAsManyAsElements) {
    EXPECT_THROW(CIMValue::array<bool>({true}, {true, false}), CIMException);
    EXPECT_TRUE(CIMValue::array<bool>({true}, {false}) == CIMValue::array<bool>({true}));
}

TEST(CIMValueTest, AnEmptyArrayIsNotNull) {
    const CIMValue empty = CIMValue::array<uint8_t>({});
    EXPECT_TRUE(empty);
    EXPECT_EQ(0U, empty.getArraySize());
    EXPECT_TRUE(empty.getElement(0).isNull());
    EXPECT_FALSE(empty == CIMValue());
    EXPECT_FALSE(empty == CIMValue::array<uint16_t>({}));
    EXPECT_TRUE(empty == CIMValue::arrayOf(CIMDataType::UINT8, {}));
}

TEST(CIMValueTest, AnArrayIsOfOneType) {
    EXPECT_THROW(CIMValue::arrayOf(CIMDataType::UINT8, {CIMValue(uint16_t{1})}),
                 ValueCastException);
    EXPECT_THROW(CIMValue::arrayOf(CIMDataType::UINT8, {CIMValue::array<uint8_t>({1})}),
                 ValueCastException);
    EXPECT_THROW(CIMValue::arrayOf(CIMDataType::INVALID, {}), ValueCastException);
}

TEST(CIMValueTest, RealsCompareByTheirBits) {
    EXPECT_FALSE(CIMValue(0.0) == CIMValue(-0.0));
    EXPECT_TRUE(CIMValue(-0.0) == CIMValue(-0.0));
    EXPECT_FALSE(CIMValue::array<float>({0.0F}) == CIMValue::array<float>({-0.0F}));
}

TEST(CIMValueTest, RealsReadBackFromTheirText) {
    struct Row {
        double value;
        const char* text;
    };
    for (const Row& row : {Row{0.0, "0.0"}, Row{-0.0, "-0.0"}, Row{1.0, "1.0"}, Row{-1.5, "-1.5"},
                           Row{0.1, "0.1"}, Row{5e-324, "5.0e-324"}, Row{-1.5e-300, "-1.5e-300"},
                           Row{std::numeric_limits<double>::max(), "1.7976931348623157e+308"}}) {
        EXPECT_EQ(row.text, CIMValue(row.value).toString());
        EXPECT_TRUE(CIMValue(std::strtod(row.text, nullptr)) == CIMValue(row.value)) << row.text;
    }
}

TEST(CIMValueTest, ACharacterThatIsHalfOfAPairHasAText) {
    EXPECT_EQ("\\xD800", CIMValue(Char16{0xD800}).toString());
    EXPECT_EQ("\\x0000", CIMValue(Char16{0}).toString());
    EXPECT_EQ("\xC3\xA4", CIMValue(Char16{0xE4}).toString());
}

TEST(CIMValueTest, ReferencesCompareAsObjectPaths) {
    const auto path = [](const char* text) { return CIMValue(CIMObjectPath::parse(text)); };
    EXPECT_TRUE(path("ns:A.k=1,l=2") == path("NS:a.L=2,K=1"));
    EXPECT_FALSE(path("ns:A.k=\"x\"") == path("ns:A.k=\"X\""));
}

TEST(CIMValueTest, NestingOfReferencesIsLimited) {
    CIMValue value("end");
    const auto wrap = [&value](int levels) {
        for (int i = 0; i < levels; ++i) {
            CIMObjectPath path("A");
            path.setKeyValue("k", value);
            value = CIMValue(path);
        }
    };
    wrap(8);
    EXPECT_LT(value.toString().size(), 5000U);
    EXPECT_THROW(wrap(1), CIMException);
    CIMInstance instance("B");
    instance.setProperty("p", value);
    EXPECT_THROW(CIMValue{instance}, CIMException);
    EXPECT_THROW(CIMValue::array<CIMInstance>({instance}), CIMException);
    CIMClass cls("C");
    cls.setProperties({CIMProperty("p", CIMDataType::STRING, value)});
    EXPECT_THROW(CIMValue{cls}, CIMException);
}

}  // namespace
}  // namespace OpenWBEM
