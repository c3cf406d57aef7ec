// SPDX-License-Identifier: Apache-2.0
//
// Completing instances from their class.
#include "openwbem/model/InstanceCompletion.hpp"

#include <gtest/gtest.h>

#include "openwbem/model/CIMException.hpp"

namespace OpenWBEM {
namespace {

CIMClass sampleClass() {
    CIMClass cls("T_Sample");
    cls.setProperties(
        {CIMProperty("Name", CIMDataType::STRING).setKey(true),
         CIMProperty("Size", CIMDataType::UINT32, CIMValue(uint32_t{7})),
         CIMProperty("Pair", CIMDataType::array(CIMDataType::UINT8, 2)),
         CIMProperty("Text", CIMDataType::STRING),
         CIMProperty("Inner", CIMDataType::STRING)
             .setQualifiers({CIMQualifier("EmbeddedInstance", CIMValue("T_Sample"))})});
    return cls;
}

CIMInstance named(const char* name) {
    CIMInstance instance("t_sample");
    instance.setProperty(CIMProperty("NAME", CIMDataType::STRING, CIMValue(name)));
    return instance;
}

int statusOf(const CIMInstance& instance, NullKeys nullKeys = NullKeys::REFUSED) {
    try {
        completeInstance(instance, sampleClass(), nullKeys);
    } catch (const CIMException& e) {
        return e.getErrNo();
    }
    return 0;
}

TEST(InstanceCompletionTest, PropertiesTakeClassOrderSpellingTypeAndDefaults) {
    const CIMInstance complete = completeInstance(named("a"), sampleClass());
    EXPECT_EQ(complete.getClassName(), "T_Sample");
    ASSERT_EQ(complete.getProperties().size(), 5U);
    EXPECT_EQ(complete.getProperties()[0].getName(), "Name");
    EXPECT_TRUE(complete.getProperties()[0].isKey());
    EXPECT_EQ(complete.getPropertyValue("Size"), CIMValue(uint32_t{7}));
    EXPECT_TRUE(complete.getPropertyValue("Text").isNull());
}

TEST(InstanceCompletionTest, AGivenNullIsNotReplacedByTheDefault) {
    CIMInstance instance = named("a");
    instance.setProperty(CIMProperty("Size", CIMDataType::UINT32));
    EXPECT_TRUE(completeInstance(instance, sampleClass()).getPropertyValue("Size").isNull());
}

TEST(InstanceCompletionTest, WhatDoesNotFitTheClassIsRefused) {
    EXPECT_EQ(statusOf(named("a")), 0);
    EXPECT_EQ(statusOf(named("a").setProperty("Nope", CIMValue(true))),
              CIMException::NO_SUCH_PROPERTY);
    EXPECT_EQ(statusOf(named("a").setProperty("Size", CIMValue("seven"))),
              CIMException::TYPE_MISMATCH);
    EXPECT_EQ(statusOf(named("a").setProperty("Size", CIMValue::array<uint32_t>({7}))),
              CIMException::TYPE_MISMATCH);
    EXPECT_EQ(statusOf(named("a").setProperty("Pair", CIMValue::array<uint8_t>({1, 2, 3}))),
              CIMException::TYPE_MISMATCH);
    EXPECT_EQ(statusOf(named("a").setProperty("Pair", CIMValue::array<uint8_t>({1, 2}))), 0);
    CIMInstance twice = named("a");
    CIMPropertyArray properties = twice.getProperties();
    properties.push_back(CIMProperty("name", CIMDataType::STRING, CIMValue("b")));
    twice.setProperties(properties);
    EXPECT_EQ(statusOf(twice), CIMException::INVALID_PARAMETER);
}

TEST(InstanceCompletionTest, OnlyEmbeddedInstancesMayHaveNullKeys) {
    const CIMInstance keyless("T_Sample");
    EXPECT_EQ(statusOf(keyless), CIMException::INVALID_PARAMETER);
    EXPECT_EQ(statusOf(keyless, NullKeys::ALLOWED), 0);
}

TEST(InstanceCompletionTest, OnlyAStringDeclaredForItHoldsAnEmbeddedInstance) {
    const auto holding = [](const char* property) {
        return named("a").setProperty(
            CIMProperty(property, CIMDataType::STRING, CIMValue(named("inner"))));
    };
    EXPECT_EQ(statusOf(holding("Inner")), 0);
    EXPECT_EQ(statusOf(holding("Text")), CIMException::TYPE_MISMATCH);
    EXPECT_FALSE(canHold(CIMDataType::UINT8, CIMValue(named("inner"))));
}

}  // namespace
}  // namespace OpenWBEM
