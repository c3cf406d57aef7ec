// SPDX-License-Identifier: Apache-2.0
//
// Classes, instances and their parts: sharing, comparison, look-up, and the reduced copies that
// callers get.
#include "openwbem/model/CIMClass.hpp"

#include <gtest/gtest.h>

#include <chrono>

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/ObjectFilter.hpp"

namespace OpenWBEM {
namespace {

CIMQualifier mark(const String& name, bool propagated = false) {
    return CIMQualifier(name, CIMValue(true)).setPropagated(propagated);
}

CIMProperty property(const String& name, bool propagated) {
    CIMProperty result(name, CIMDataType::UINT8, CIMValue(uint8_t{4}));
    result.setClassOrigin("Origin").setPropagated(propagated);
    return result.setQualifiers({mark("Own"), mark("Inherited", true)});
}

CIMMethod method(const String& name, bool propagated) {
    CIMParameter parameter("p", CIMDataType::STRING);
    parameter.setQualifiers({mark("In"), mark("Inherited", true)});
    CIMMethod result(name, CIMDataType::UINT32);
    result.setParameters({parameter}).setClassOrigin("Origin").setPropagated(propagated);
    return result.setQualifiers({mark("Own"), mark("Inherited", true)});
}

CIMClass sample() {
    return CIMClass("Foo", "Base")
        .setQualifiers({mark("Own"), mark("Inherited", true)})
        .setProperties({property("Old", true).setKey(true), property("New", false)})
        .setMethods({method("OldMethod", true), method("NewMethod", false)});
}

TEST(CIMClassTest, NullObjectsHaveEmptyParts) {
    EXPECT_FALSE(CIMClass());
    EXPECT_FALSE(CIMInstance());
    EXPECT_FALSE(CIMProperty());
    EXPECT_FALSE(CIMMethod());
    EXPECT_FALSE(CIMParameter());
    EXPECT_FALSE(CIMQualifier());
    EXPECT_FALSE(CIMQualifierType());
    EXPECT_EQ("", CIMClass().getName());
    EXPECT_TRUE(CIMClass().getProperties().empty());
    EXPECT_EQ(nullptr, CIMClass().getProperty("x"));
    EXPECT_TRUE(CIMInstance().getPropertyValue("x").isNull());
    EXPECT_EQ(0, CIMQualifierType().getScopes());
    EXPECT_FALSE(
        CIMClass().filter(WantedParts{E_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN}));
    EXPECT_TRUE(CIMClass() == CIMClass());
}

TEST(CIMClassTest, AChangedCopyLeavesTheOriginalAlone) {
    const CIMClass original = sample();
    CIMClass copy = original;
    EXPECT_EQ(original.getProperties().data(), copy.getProperties().data());
    copy.setName("Bar");
    EXPECT_EQ("Foo", original.getName());
    CIMProperty first = original.getProperties()[0];
    first.setValue(CIMValue(uint8_t{9}));
    EXPECT_TRUE(original.getProperties()[0].getValue() == CIMValue(uint8_t{4}));
}

TEST(CIMClassTest, AMovedObjectIsNull) {
    CIMClass source = sample();
    const CIMClass target = std::move(source);
    EXPECT_FALSE(source);  // NOLINT(bugprone-use-after-move): that is the claim
    EXPECT_EQ("Foo", target.getName());
}

TEST(CIMClassTest, NamesAreFoundWithoutRegardToCase) {
    const CIMClass cls = sample();
    ASSERT_NE(nullptr, cls.getProperty("OLD"));
    EXPECT_EQ("Old", cls.getProperty("OLD")->getName());
    ASSERT_NE(nullptr, cls.getMethod("newmethod"));
    ASSERT_NE(nullptr, cls.getQualifier("own"));
    EXPECT_EQ(nullptr, cls.getProperty("Ol"));
}

TEST(CIMClassTest, ComparisonIgnoresOrderSpellingAndMarks) {
    const CIMClass cls = sample();
    CIMClass other = CIMClass("FOO", "BASE")
                         .setQualifiers({mark("INHERITED"), mark("OWN")})
                         .setProperties({property("NEW", true), property("OLD", false)})
                         .setMethods({method("NEWMETHOD", true), method("oldmethod", false)});
    EXPECT_TRUE(cls == other);
    EXPECT_FALSE(cls == CIMClass(other).setName("Bar"));
    EXPECT_FALSE(cls == CIMClass(other).setSuperClass(""));
    EXPECT_FALSE(cls == CIMClass(other).setQualifiers({mark("Own")}));
    EXPECT_FALSE(cls == CIMClass(other).setMethods({method("OldMethod", true)}));
    CIMPropertyArray changed = other.getProperties();
    changed[0].setValue(CIMValue());
    EXPECT_FALSE(cls == CIMClass(other).setProperties(changed));
    changed = other.getProperties();
    changed[1].setQualifiers({mark("Own"), mark("Other")});
    EXPECT_FALSE(cls == CIMClass(other).setProperties(changed));
}

TEST(CIMClassTest, ParametersCompareInOrder) {
    const CIMParameter a("a", CIMDataType::STRING);
    const CIMParameter b("b", CIMDataType::STRING);
    const CIMMethod m = CIMMethod("m", CIMDataType::UINT32).setParameters({a, b});
    EXPECT_TRUE(m == CIMMethod("M", CIMDataType::UINT32).setParameters({a, b}));
    EXPECT_FALSE(m == CIMMethod("m", CIMDataType::UINT32).setParameters({b, a}));
    EXPECT_FALSE(m == CIMMethod("m", CIMDataType::UINT8).setParameters({a, b}));
}

TEST(CIMClassTest, QualifiersCompareWithTheirFlavors) {
    EXPECT_FALSE(mark("a") == mark("a").setFlavor(CIMFlavor{false, true, false}));
    EXPECT_TRUE(mark("a") == mark("A", true));
    CIMQualifierType type("q");
    type.setDataType(CIMDataType::BOOLEAN).setScopes(CIMScope::CLASS);
    EXPECT_TRUE(type == CIMQualifierType(type).setName("Q"));
    EXPECT_FALSE(type == CIMQualifierType(type).setScopes(CIMScope::ANY));
    EXPECT_FALSE(type == CIMQualifierType(type).setDefaultValue(CIMValue(true)));
    EXPECT_FALSE(type == CIMQualifierType(type).setFlavor(CIMFlavor{true, true, true}));
}

TEST(CIMClassTest, ComparisonOfHugeListsInAnotherOrderEndsInGoodTime) {
    CIMPropertyArray properties;
    for (int i = 0; i < 100000; ++i) {
        properties.emplace_back("p" + std::to_string(i), CIMDataType::UINT8);
    }
    const CIMClass cls = CIMClass("Foo").setProperties(properties);
    std::reverse(properties.begin(), properties.end());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(cls == CIMClass("Foo").setProperties(properties));
    properties[7].setName("other");
    EXPECT_FALSE(cls == CIMClass("Foo").setProperties(properties));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(CIMClassTest, ListsWithANameTwiceCompareByTheOrderUnderThatName) {
    const CIMProperty one("a", CIMDataType::UINT8, CIMValue(uint8_t{1}));
    const CIMProperty two("A", CIMDataType::UINT8, CIMValue(uint8_t{2}));
    const CIMProperty b("b", CIMDataType::UINT8);
    const auto list = [](CIMPropertyArray p) { return CIMClass("C").setProperties(std::move(p)); };
    EXPECT_TRUE(list({one, b, two}) == list({one, two, b}));
    EXPECT_FALSE(list({one, b, two}) == list({two, one, b}));
    EXPECT_FALSE(list({one, one, b}) == list({one, b, b}));
}

TEST(CIMClassTest, KindsAreToldByQualifiers) {
    EXPECT_TRUE(CIMClass("A").setQualifiers({mark("ASSOCIATION")}).isAssociation());
    EXPECT_TRUE(CIMClass("A").setQualifiers({mark("abstract")}).isAbstract());
    EXPECT_TRUE(CIMClass("A").setQualifiers({mark("Indication")}).isIndication());
    const CIMQualifier no("Association", CIMValue(false));
    EXPECT_FALSE(CIMClass("A").setQualifiers({no}).isAssociation());
    const CIMQualifier text("Association", CIMValue("TRUE"));
    EXPECT_FALSE(CIMClass("A").setQualifiers({text}).isAssociation());
    const CIMQualifier null("Association", CIMValue());
    EXPECT_FALSE(CIMClass("A").setQualifiers({null}).isAssociation());
}

TEST(CIMClassTest, ANewInstanceHasEveryPropertyWithItsDefault) {
    const CIMInstance instance = sample().newInstance();
    EXPECT_EQ("Foo", instance.getClassName());
    ASSERT_EQ(2U, instance.getProperties().size());
    EXPECT_TRUE(instance.getPropertyValue("new") == CIMValue(uint8_t{4}));
    EXPECT_TRUE(instance.getProperties()[0].getQualifiers().empty());
    ASSERT_EQ(1U, instance.getKeys().size());
    EXPECT_EQ("Old", instance.getKeys()[0].getName());
    EXPECT_TRUE(instance.getQualifiers().empty());
}

TEST(FilterTest, KeepingAllSharesTheObject) {
    const CIMClass cls = sample();
    EXPECT_EQ(
        cls.getProperties().data(),
        cls.filter(WantedParts{E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN})
            .getProperties()
            .data());
}

TEST(FilterTest, LocalOnlyDropsWhatIsPropagated) {
    const CIMClass cut =
        sample().filter(WantedParts{E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN});
    ASSERT_EQ(1U, cut.getProperties().size());
    EXPECT_EQ("New", cut.getProperties()[0].getName());
    ASSERT_EQ(1U, cut.getProperties()[0].getQualifiers().size());
    ASSERT_EQ(1U, cut.getMethods().size());
    EXPECT_EQ(1U, cut.getMethods()[0].getQualifiers().size());
    EXPECT_EQ(1U, cut.getMethods()[0].getParameters()[0].getQualifiers().size());
    ASSERT_EQ(1U, cut.getQualifiers().size());
    EXPECT_EQ("Own", cut.getQualifiers()[0].getName());
    EXPECT_EQ("Origin", cut.getProperties()[0].getClassOrigin());
    EXPECT_EQ("Base", cut.getSuperClass());
}

TEST(FilterTest, WithoutQualifiersNoElementHasAny) {
    const CIMClass cut = sample().filter(
        WantedParts{E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN});
    EXPECT_TRUE(cut.getQualifiers().empty());
    EXPECT_EQ(2U, cut.getProperties().size());
    for (const CIMProperty& p : cut.getProperties()) {
        EXPECT_TRUE(p.getQualifiers().empty());
    }
    for (const CIMMethod& m : cut.getMethods()) {
        EXPECT_TRUE(m.getQualifiers().empty());
        EXPECT_TRUE(m.getParameters()[0].getQualifiers().empty());
    }
    EXPECT_TRUE(cut.getProperties()[0].isKey());
}

TEST(FilterTest, WithoutClassOriginNoFeatureTellsIt) {
    const CIMClass cut = sample().filter(
        WantedParts{E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN});
    EXPECT_EQ("", cut.getProperties()[0].getClassOrigin());
    EXPECT_EQ("", cut.getMethods()[0].getClassOrigin());
    EXPECT_EQ(2U, cut.getProperties()[0].getQualifiers().size());
}

TEST(FilterTest, APropertyListNamesWhatStays) {
    const StringArray one = {"NEW", "unknown", "new"};
    const CIMClass cut = sample().filter(
        WantedParts{E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN, &one});
    ASSERT_EQ(1U, cut.getProperties().size());
    EXPECT_EQ("New", cut.getProperties()[0].getName());
    EXPECT_EQ(2U, cut.getMethods().size());
    const StringArray none;
    EXPECT_TRUE(sample()
                    .filter(WantedParts{E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                        E_INCLUDE_CLASS_ORIGIN, &none})
                    .getProperties()
                    .empty());
    EXPECT_TRUE(sample()
                    .newInstance()
                    .filter(WantedParts{E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                        E_INCLUDE_CLASS_ORIGIN, &none})
                    .getProperties()
                    .empty());
}

TEST(FilterTest, InstancesAreCutTheSameWay) {
    CIMInstance instance("Foo");
    instance.setQualifiers({mark("Q")})
        .setProperties({property("Old", true), property("New", false)});
    EXPECT_EQ(
        1U, instance.filter(WantedParts{E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN})
                .getProperties()
                .size());
    const CIMInstance bare = instance.filter(
        WantedParts{E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN});
    EXPECT_TRUE(bare.getQualifiers().empty());
    EXPECT_TRUE(bare.getProperties()[0].getQualifiers().empty());
    EXPECT_EQ("", bare.getProperties()[0].getClassOrigin());
}

TEST(CIMInstanceTest, AValueIsSetInItsPlaceWithItsType) {
    CIMInstance instance = sample().newInstance();
    const CIMInstance before = instance;
    instance.setProperty("OLD", CIMValue(uint8_t{9}));
    EXPECT_EQ("Old", instance.getProperties()[0].getName());
    EXPECT_TRUE(instance.getPropertyValue("old") == CIMValue(uint8_t{9}));
    EXPECT_TRUE(before.getPropertyValue("old") == CIMValue(uint8_t{4}));
    EXPECT_TRUE(instance.getProperties()[0].isKey());
    instance.setProperty("Old", CIMValue());
    EXPECT_TRUE(instance.getPropertyValue("old").isNull());
    EXPECT_EQ(CIMDataType::UINT8, instance.getProperties()[0].getDataType().getType());
}

TEST(CIMInstanceTest, AValueOfAnotherTypeIsRefused) {
    CIMInstance instance = sample().newInstance();
    try {
        instance.setProperty("old", CIMValue("text"));
        FAIL();
    } catch (const CIMException& e) {
        EXPECT_EQ(CIMException::TYPE_MISMATCH, e.getErrNo());
        EXPECT_STREQ("type mismatch: Property Old of Foo is uint8, not string", e.what());
    }
    EXPECT_THROW(instance.setProperty("old", CIMValue::array<uint8_t>({1})), CIMException);
}

TEST(CIMInstanceTest, AnUnknownPropertyIsAppendedWithTheTypeOfItsValue) {
    CIMInstance instance("Foo");
    instance.setProperty("a", CIMValue::array<String>({"x"})).setProperty("b", CIMValue());
    EXPECT_TRUE(instance.getProperty("a")->getDataType() ==
                CIMDataType::array(CIMDataType::STRING));
    EXPECT_FALSE(instance.getProperty("b")->getDataType());
    instance.setProperty(CIMProperty("A", CIMDataType::UINT8));
    ASSERT_EQ(2U, instance.getProperties().size());
    EXPECT_EQ(CIMDataType::UINT8, instance.getProperties()[0].getDataType().getType());
}

TEST(CIMInstanceTest, ComparisonIgnoresOrder) {
    CIMInstance a("Foo");
    a.setProperty("x", CIMValue(true)).setProperty("y", CIMValue("1"));
    CIMInstance b("FOO");
    b.setProperty("Y", CIMValue("1")).setProperty("X", CIMValue(true));
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a == b.setProperty("y", CIMValue("2")));
}

TEST(CIMDataTypeTest, KeywordsNameTheTypes) {
    EXPECT_EQ(CIMDataType::SINT64, CIMDataType::fromKeyword("SInt64"));
    EXPECT_EQ(CIMDataType::DATETIME, CIMDataType::fromKeyword("datetime"));
    EXPECT_EQ(std::nullopt, CIMDataType::fromKeyword("reference"));
    EXPECT_EQ(std::nullopt, CIMDataType::fromKeyword("invalid"));
    EXPECT_EQ(std::nullopt, CIMDataType::fromKeyword(""));
    EXPECT_EQ("uint8", CIMDataType(CIMDataType::UINT8).toString());
    EXPECT_EQ("CIM_Foo REF", CIMDataType::reference("CIM_Foo").toString());
}

TEST(CIMDataTypeTest, FormIsPartOfTheType) {
    EXPECT_FALSE(CIMDataType::array(CIMDataType::UINT8) == CIMDataType(CIMDataType::UINT8));
    EXPECT_FALSE(CIMDataType::array(CIMDataType::UINT8, 5) ==
                 CIMDataType::array(CIMDataType::UINT8));
    EXPECT_TRUE(CIMDataType::reference("foo") == CIMDataType::reference("FOO"));
    EXPECT_FALSE(CIMDataType::reference("foo") == CIMDataType::reference("bar"));
}

TEST(CIMExceptionTest, TheMessageTellsWhatTheCodeMeans) {
    const CIMException e("f.cpp", 3, CIMException::NOT_FOUND, "class Foo");
    EXPECT_STREQ("not found: class Foo", e.what());
    EXPECT_EQ(6, e.getErrorCode());
    EXPECT_NE(String::npos, blocxx::toString(e).find("6: not found: class Foo"));
    EXPECT_STREQ("not found", CIMException("", 0, CIMException::NOT_FOUND, "").what());
}

TEST(CIMExceptionTest, AMessageThatWasHandedOnIsNotPrefixedAgain) {
    const CIMException first("f.cpp", 3, CIMException::NOT_FOUND, "class Foo");
    const CIMException second("g.cpp", 4, first.getErrNo(), first.getMessage());
    EXPECT_STREQ(first.what(), second.what());
}

TEST(CIMExceptionTest, EveryCodeHasItsOwnDescription) {
    for (int code = 1; code <= 17; ++code) {
        for (int other = 0; other < code; ++other) {
            EXPECT_STRNE(CIMException::description(static_cast<CIMException::ErrNoType>(other)),
                         CIMException::description(static_cast<CIMException::ErrNoType>(code)));
        }
    }
    EXPECT_STREQ("unknown failure",
                 CIMException::description(static_cast<CIMException::ErrNoType>(-1)));
}

TEST(CIMExceptionTest, CopiesKeepTheType) {
    const CIMException e("f.cpp", 3, CIMException::FAILED, "x");
    const std::unique_ptr<blocxx::Exception> copy(e.clone());
    EXPECT_THROW(copy->rethrow(), CIMException);
    EXPECT_STREQ("CIMException", copy->type());
}

}  // namespace
}  // namespace OpenWBEM
