// SPDX-License-Identifier: Apache-2.0
//
// Adapting the keys of an object path to its class: values of every type are read from text, and
// nothing is lost silently.
#include <gtest/gtest.h>

#include <bit>
#include <random>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

namespace OpenWBEM {
namespace {

CIMClass classWithKeys(const Array<std::pair<String, CIMDataType>>& keys) {
    CIMPropertyArray properties;
    for (const auto& [name, type] : keys) {
        properties.push_back(CIMProperty(name, type).setKey(true));
    }
    properties.emplace_back("NoKey", CIMDataType::STRING);
    return CIMClass("Foo").setProperties(std::move(properties));
}

CIMObjectPath synced(const char* text, CIMDataType type) {
    CIMObjectPath path = CIMObjectPath::parse(text);
    return path.syncWithClass(classWithKeys({{"K", std::move(type)}}));
}

void expectComesBack(const CIMValue& value, const CIMDataType& type) {
    const CIMClass cls = classWithKeys({{"K", type}});
    CIMInstance instance = cls.newInstance();
    instance.setProperties({CIMProperty("K", type, value).setKey(true)});
    const CIMObjectPath path("ns", instance);
    CIMObjectPath parsed = CIMObjectPath::parse(path.toString());
    parsed.syncWithClass(cls);
    EXPECT_TRUE(parsed == path) << path;
    EXPECT_TRUE(parsed.getKeys()[0] == path.getKeys()[0]) << path;
    EXPECT_EQ(path.canonicalKey(), parsed.canonicalKey());
}

TEST(ObjectPathSyncTest, KeysOfEveryTypeComeBackFromText) {
    expectComesBack(CIMValue(true), CIMDataType::BOOLEAN);
    expectComesBack(CIMValue(uint8_t{255}), CIMDataType::UINT8);
    expectComesBack(CIMValue(int8_t{-128}), CIMDataType::SINT8);
    expectComesBack(CIMValue(uint16_t{65535}), CIMDataType::UINT16);
    expectComesBack(CIMValue(int16_t{-32768}), CIMDataType::SINT16);
    expectComesBack(CIMValue(UINT32_MAX), CIMDataType::UINT32);
    expectComesBack(CIMValue(INT32_MIN), CIMDataType::SINT32);
    expectComesBack(CIMValue(UINT64_MAX), CIMDataType::UINT64);
    expectComesBack(CIMValue(INT64_MIN), CIMDataType::SINT64);
    expectComesBack(CIMValue(INT64_MAX), CIMDataType::SINT64);
    expectComesBack(CIMValue(5e-324), CIMDataType::REAL64);
    expectComesBack(CIMValue(-0.0), CIMDataType::REAL64);
    expectComesBack(CIMValue(3.4028235e38F), CIMDataType::REAL32);
    expectComesBack(CIMValue(Char16{0xDC00}), CIMDataType::CHAR16);
    expectComesBack(CIMValue(Char16{u'\''}), CIMDataType::CHAR16);
    expectComesBack(CIMValue("\"\\,.=:\r\n\t\x01 \xE2\x82\xAC"), CIMDataType::STRING);
    expectComesBack(CIMValue(CIMDateTime("**************.******-***")), CIMDataType::DATETIME);
    expectComesBack(CIMValue(CIMObjectPath::parse("//h/a/b:C.x=\"\\\"\",y=-1")),
                    CIMDataType::reference("C"));
}

TEST(ObjectPathSyncTest, EveryReal32ComesBackThoughTextIsReadAsReal64) {
    std::mt19937 random(20241120);
    for (int i = 0; i < 200000; ++i) {
        const auto value = std::bit_cast<float>(static_cast<uint32_t>(random()));
        if (value == value && value - value == 0) {
            const auto text = "Foo.K=" + CIMValue(value).toString();
            ASSERT_TRUE(synced(text.c_str(), CIMDataType::REAL32).getKeyValue("K") ==
                        CIMValue(value))
                << text;
        }
    }
}

TEST(ObjectPathSyncTest, AKeyWithoutANameIsTheOnlyOneOfTheClass) {
    CIMObjectPath path("C");
    path.setKeyValue("", CIMValue(uint64_t{5}));
    const CIMClass one = classWithKeys({{"K", CIMDataType::UINT8}});
    EXPECT_EQ(CIMObjectPath(path).syncWithClass(one),
              CIMObjectPath("C").setKeyValue("K", CIMValue(uint8_t{5})));
    const CIMClass two = classWithKeys({{"K", CIMDataType::UINT8}, {"L", CIMDataType::UINT8}});
    try {
        path.syncWithClass(two);
        ADD_FAILURE() << path;
    } catch (const CIMException& e) {
        EXPECT_STREQ(e.getMessage(), "invalid parameter: key K of a path of class Foo: is missing");
    }
}

TEST(ObjectPathSyncTest, NamesAndOrderBecomeThoseOfTheClass) {
    const CIMClass cls =
        classWithKeys({{"First", CIMDataType::UINT8}, {"Second", CIMDataType::STRING}});
    CIMObjectPath path = CIMObjectPath::parse("ns:foo.SECOND=\"b\",first=1");
    EXPECT_EQ("ns:foo.First=1,Second=\"b\"", path.syncWithClass(cls).toString());
    EXPECT_EQ(CIMDataType::UINT8, path.getKeys()[0].getDataType().getType());
    EXPECT_TRUE(path.getKeys()[0].isKey());
}

TEST(ObjectPathSyncTest, TheKeyQualifierOfAClassAsDeclaredCounts) {
    CIMClass cls("Foo");
    CIMProperty key("K", CIMDataType::UINT16);
    key.setQualifiers({CIMQualifier("key", CIMValue(true))});
    cls.setProperties({key});
    CIMObjectPath path = CIMObjectPath::parse("Foo.k=7");
    EXPECT_TRUE(path.syncWithClass(cls).getKeyValue("K") == CIMValue(uint16_t{7}));
}

TEST(ObjectPathSyncTest, AnIntegerServesAsReal) {
    EXPECT_TRUE(synced("Foo.K=5", CIMDataType::REAL64).getKeyValue("K") == CIMValue(5.0));
    EXPECT_TRUE(synced("Foo.K=-5", CIMDataType::REAL32).getKeyValue("K") == CIMValue(-5.0F));
}

struct Refused {
    const char* text;
    CIMDataType::Type type;
};

class RefusedSync : public ::testing::TestWithParam<Refused> {};

TEST_P(RefusedSync, LeavesThePathAsItWas) {
    const CIMObjectPath before = CIMObjectPath::parse(GetParam().text);
    CIMObjectPath path = before;
    try {
        path.syncWithClass(classWithKeys({{"K", GetParam().type}}));
        FAIL() << "accepted " << GetParam().text;
    } catch (const CIMException& e) {
        EXPECT_EQ(CIMException::INVALID_PARAMETER, e.getErrNo());
        EXPECT_NE(String::npos, String(e.getMessage()).find("of class Foo")) << e.getMessage();
    }
    EXPECT_TRUE(path == before);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, RefusedSync,
    ::testing::Values(
        Refused{"Foo", CIMDataType::STRING}, Refused{"Foo.X=1", CIMDataType::UINT8},
        Refused{"Foo.K=1,X=2", CIMDataType::UINT8}, Refused{"Foo.K=256", CIMDataType::UINT8},
        Refused{"Foo.K=-1", CIMDataType::UINT64},
        Refused{"Foo.K=9223372036854775808", CIMDataType::SINT64},
        Refused{"Foo.K=-129", CIMDataType::SINT8}, Refused{"Foo.K=1.0", CIMDataType::UINT8},
        Refused{"Foo.K=\"1\"", CIMDataType::UINT8}, Refused{"Foo.K=TRUE", CIMDataType::UINT8},
        Refused{"Foo.K=1", CIMDataType::BOOLEAN}, Refused{"Foo.K=1", CIMDataType::STRING},
        Refused{"Foo.K='x'", CIMDataType::STRING}, Refused{"Foo.K=\"x\"", CIMDataType::CHAR16},
        Refused{"Foo.K=1.0e300", CIMDataType::REAL32}, Refused{"Foo.K=\"x\"", CIMDataType::REAL64},
        Refused{"Foo.K=\"today\"", CIMDataType::DATETIME},
        Refused{"Foo.K=\"no path\"", CIMDataType::REFERENCE},
        Refused{"Foo.K=1", CIMDataType::REFERENCE}));

TEST(ObjectPathSyncTest, ANullOrArrayKeyIsRefused) {
    const CIMClass cls = classWithKeys({{"K", CIMDataType::UINT8}});
    EXPECT_THROW(CIMObjectPath("Foo").setKeyValue("K", CIMValue()).syncWithClass(cls),
                 CIMException);
    EXPECT_THROW(
        CIMObjectPath("Foo").setKeyValue("K", CIMValue::array<uint8_t>({1})).syncWithClass(cls),
        CIMException);
}

TEST(ObjectPathSyncTest, AKeyGivenTwiceIsRefused) {
    const CIMProperty key("K", CIMDataType::UINT8, CIMValue(uint8_t{1}));
    CIMObjectPath path = CIMObjectPath("Foo").setKeys({key, key});
    EXPECT_THROW(path.syncWithClass(classWithKeys({{"K", CIMDataType::UINT8}})), CIMException);
}

}  // namespace
}  // namespace OpenWBEM
