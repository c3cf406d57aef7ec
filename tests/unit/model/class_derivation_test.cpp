// SPDX-License-Identifier: Apache-2.0
//
// What a class inherits, what it may override, and what is refused.
#include "openwbem/model/ClassDerivation.hpp"

#include <gtest/gtest.h>

#include <map>

#include "openwbem/model/CIMException.hpp"

namespace OpenWBEM {
namespace {

class ClassDerivationTest : public ::testing::Test {
protected:
    ClassDerivationTest() {
        declare("Key", CIMDataType::BOOLEAN, CIMScope::PROPERTY | CIMScope::REFERENCE, false, true);
        declare("Override", CIMDataType::STRING,
                CIMScope::PROPERTY | CIMScope::REFERENCE | CIMScope::METHOD, true, false);
        declare("Association", CIMDataType::BOOLEAN, CIMScope::ASSOCIATION, false, true);
        declare("Abstract", CIMDataType::BOOLEAN, CIMScope::CLASS, true, false);
        declare("Terminal", CIMDataType::BOOLEAN, CIMScope::CLASS, true, true);
        declare("Description", CIMDataType::STRING, CIMScope::ANY, true, true);
        declare("Units", CIMDataType::STRING, CIMScope::PROPERTY, false, true);
    }

    void declare(const String& name, CIMDataType::Type type, uint8_t scopes, bool overridable,
                 bool toSubclass) {
        CIMQualifierType declared(name);
        declared.setDataType(type).setScopes(scopes);
        declared.setFlavor(CIMFlavor{overridable, toSubclass, false});
        m_types[name] = declared;
    }

    CIMQualifier qualifier(const String& name, CIMValue value) const {
        return CIMQualifier(name, std::move(value), m_types.at(name).getFlavor());
    }
    CIMQualifier yes(const String& name) const { return qualifier(name, CIMValue(true)); }
    CIMQualifier text(const String& name, const char* value) const {
        return qualifier(name, CIMValue(value));
    }

    static CIMProperty property(const String& name, CIMDataType type,
                                CIMQualifierArray qualifiers = {}) {
        CIMProperty made(name, std::move(type));
        made.setQualifiers(std::move(qualifiers));
        return made;
    }

    CIMClass derive(const CIMClass& declared, const CIMClass* superClass = nullptr,
                    NullDefaults nullDefaults = NullDefaults::INHERIT) const {
        const auto lookup = [this](std::string_view name) {
            const auto found = m_types.find(String(name));
            return found == m_types.end() ? nullptr : &found->second;
        };
        return deriveClass(declared, superClass, lookup, nullDefaults);
    }

    /// The message and status of a derivation that must be refused.
    std::pair<String, int> refusal(const CIMClass& declared, const CIMClass* superClass = nullptr,
                                   NullDefaults nullDefaults = NullDefaults::INHERIT) const {
        try {
            derive(declared, superClass, nullDefaults);
        } catch (const ClassDerivationException& e) {
            return {e.getMessage(), e.getErrorCode()};
        }
        return {"not refused", 0};
    }

    CIMClass base() const {
        CIMClass cls("T_Base");
        cls.setQualifiers({yes("Abstract"), text("Description", "base")});
        cls.setProperties({property("Id", CIMDataType::STRING, {yes("Key")}),
                           property("Size", CIMDataType::UINT32,
                                    {text("Units", "Bytes"), text("Description", "size")})});
        CIMMethod method("Reset", CIMDataType::UINT32);
        method.setQualifiers({text("Description", "reset")});
        method.setParameters({CIMParameter("Hard", CIMDataType::BOOLEAN)});
        cls.setMethods({method});
        return derive(cls);
    }

    std::map<String, CIMQualifierType> m_types;
};

TEST_F(ClassDerivationTest, FeaturesAreInheritedAndMarkedAsPropagated) {
    const CIMClass above = base();
    const CIMClass below = derive(CIMClass("T_Below", "T_Base"), &above);
    ASSERT_EQ(below.getProperties().size(), 2U);
    EXPECT_TRUE(below.getProperty("Id")->isPropagated());
    EXPECT_TRUE(below.getProperty("id")->isKey());
    EXPECT_EQ(below.getProperty("Size")->getClassOrigin(), "T_Base");
    ASSERT_NE(below.getMethod("reset"), nullptr);
    EXPECT_TRUE(below.getMethod("reset")->isPropagated());
    EXPECT_EQ(below.getMethod("Reset")->getParameters().size(), 1U);
}

TEST_F(ClassDerivationTest, SiblingsShareWhatTheyInheritUntilOneIsChanged) {
    const CIMClass above = base();
    const CIMClass first = derive(CIMClass("T_First", "T_Base"), &above);
    CIMClass second = derive(CIMClass("T_Second", "T_Base"), &above);
    EXPECT_EQ(&first.getProperty("Size")->getQualifiers(),
              &second.getProperty("Size")->getQualifiers());

    CIMClass changed = above;
    CIMPropertyArray properties = changed.getProperties();
    properties[1].setQualifiers({text("Description", "other")});
    changed.setProperties(properties);
    const CIMClass third = derive(CIMClass("T_Third", "T_Base"), &changed);
    EXPECT_EQ(third.getProperty("Size")->getQualifier("Description")->getValue(),
              CIMValue("other"));
    EXPECT_EQ(third.getProperty("Size")->getQualifier("Units"), nullptr);
    EXPECT_EQ(first.getProperty("Size")->getQualifier("Description")->getValue(), CIMValue("size"));
}

TEST_F(ClassDerivationTest, OnlyQualifiersWithToSubclassArePassedDown) {
    const CIMClass above = base();
    const CIMClass below = derive(CIMClass("T_Below", "T_Base"), &above);
    EXPECT_FALSE(below.isAbstract());
    ASSERT_NE(below.getQualifier("Description"), nullptr);
    EXPECT_TRUE(below.getQualifier("Description")->isPropagated());
}

TEST_F(ClassDerivationTest, AnOverridingPropertyKeepsOriginPlaceKeyAndInheritedQualifiers) {
    const CIMClass above = base();
    CIMClass declared("T_Below", "T_Base");
    declared.setProperties({property("SIZE", CIMDataType::UINT32, {text("Override", "Size")}),
                            property("New", CIMDataType::STRING)});
    const CIMClass below = derive(declared, &above);
    ASSERT_EQ(below.getProperties().size(), 3U);
    const CIMProperty& size = below.getProperties()[1];
    EXPECT_EQ(size.getName(), "SIZE");
    EXPECT_FALSE(size.isPropagated());
    EXPECT_EQ(size.getClassOrigin(), "T_Base");
    ASSERT_NE(size.getQualifier("Units"), nullptr);
    EXPECT_TRUE(size.getQualifier("Units")->isPropagated());
    EXPECT_FALSE(size.getQualifier("Override")->isPropagated());
    EXPECT_EQ(below.getProperty("New")->getClassOrigin(), "T_Below");
}

TEST_F(ClassDerivationTest, TheOverrideQualifierItselfIsNotInheritedTwoLevelsDown) {
    const CIMClass above = base();
    CIMClass declared("T_Below", "T_Base");
    declared.setProperties({property("Size", CIMDataType::UINT32, {text("Override", "Size")})});
    const CIMClass below = derive(declared, &above);
    const CIMClass last = derive(CIMClass("T_Last", "T_Below"), &below);
    EXPECT_EQ(last.getProperty("Size")->getQualifier("Override"), nullptr);
    EXPECT_NE(last.getProperty("Size")->getQualifier("Units"), nullptr);
}

TEST_F(ClassDerivationTest, AnInheritedDefaultHoldsUntilItIsOverridden) {
    CIMClass declared("T_Base");
    declared.setProperties({property("Size", CIMDataType::UINT32).setValue(CIMValue(uint32_t{7}))});
    const CIMClass above = derive(declared);
    CIMClass same("T_Same", "T_Base");
    same.setProperties({property("Size", CIMDataType::UINT32)});
    EXPECT_EQ(derive(same, &above).getProperty("Size")->getValue(), CIMValue(uint32_t{7}));
    same.setProperties({property("Size", CIMDataType::UINT32).setValue(CIMValue(uint32_t{9}))});
    EXPECT_EQ(derive(same, &above).getProperty("Size")->getValue(), CIMValue(uint32_t{9}));
}

TEST_F(ClassDerivationTest, ANullDefaultIsKeptWhereItIsMeant) {
    CIMClass declared("T_Base");
    declared.setProperties({property("Size", CIMDataType::UINT32).setValue(CIMValue(uint32_t{7}))});
    const CIMClass above = derive(declared);
    CIMClass below("T_Below", "T_Base");
    below.setProperties({property("Size", CIMDataType::UINT32)});
    const CIMClass once = derive(below, &above, NullDefaults::KEEP);
    EXPECT_TRUE(once.getProperty("Size")->getValue().isNull());
    EXPECT_EQ(derive(once, &above, NullDefaults::KEEP), once);
    const CIMClass last = derive(CIMClass("T_Last", "T_Below"), &once);
    EXPECT_TRUE(last.getProperty("Size")->getValue().isNull());
}

TEST_F(ClassDerivationTest, DerivingADerivedClassAgainChangesNothing) {
    const CIMClass above = base();
    CIMClass declared("T_Below", "T_Base");
    declared.setProperties({property("Size", CIMDataType::UINT32, {text("Override", "Size")})});
    const CIMClass once = derive(declared, &above);
    const CIMClass twice = derive(once, &above);
    EXPECT_EQ(once, twice);
    EXPECT_FALSE(twice.getProperty("Size")->isPropagated());
    EXPECT_TRUE(twice.getProperty("Size")->getQualifier("Units")->isPropagated());
    EXPECT_EQ(derive(base()), base());
}

TEST_F(ClassDerivationTest, WhatWasDerivedFromThatSuperclassIsGivenBackAsItIs) {
    const auto isGivenBack = [this](const CIMClass& cls, const CIMClass* superClass) {
        const CIMClass again = derive(cls, superClass, NullDefaults::KEEP);
        EXPECT_EQ(again, cls);
        return &again.getProperties() == &cls.getProperties();
    };
    CIMClass above = base();
    const CIMClass below = derive(CIMClass("T_Below", "T_Base"), &above);
    const CIMClass last = derive(CIMClass("T_Last", "T_Below"), &below);
    EXPECT_TRUE(isGivenBack(above, nullptr));
    EXPECT_TRUE(isGivenBack(below, &above));
    EXPECT_TRUE(isGivenBack(last, &below));
    EXPECT_EQ(derive(last, nullptr, NullDefaults::KEEP).getSuperClass(), "");
    const CIMClass equal = base();
    EXPECT_FALSE(isGivenBack(below, &equal)) << "another object, which is looked into";

    CIMClass copy = below;
    EXPECT_TRUE(isGivenBack(copy, &above));
    copy.setName("T_Copy");
    EXPECT_FALSE(isGivenBack(copy, &above)) << "changed, as a copy";
    copy = derive(copy, &above);
    copy.setMethods(copy.getMethods());
    EXPECT_FALSE(isGivenBack(copy, &above)) << "changed, as the only one";
    const CIMClass empty;
    EXPECT_NE(&derive(above, &empty, NullDefaults::KEEP).getProperties(), &above.getProperties());
    above.setName("T_BASE");
    EXPECT_NE(&derive(below, &above, NullDefaults::KEEP).getProperties(), &below.getProperties());
    EXPECT_EQ(derive(below, &above, NullDefaults::KEEP).getSuperClass(), "T_BASE");
}

TEST_F(ClassDerivationTest, WhatASuperclassChangedIntoIsLookedAtAgain) {
    CIMClass above = base();
    CIMClass declared("T_Below", "T_Base");
    declared.setProperties({property("Size", CIMDataType::UINT32, {text("Override", "Size")})});
    const CIMClass below = derive(declared, &above);
    CIMPropertyArray properties = above.getProperties();
    properties[1].setDataType(CIMDataType::UINT64);
    above.setProperties(properties);
    EXPECT_EQ(refusal(below, &above, NullDefaults::KEEP).first,
              "class T_Below, Size: overrides a property of another type (uint64)");
}

TEST_F(ClassDerivationTest, TheQualifiersOfADerivedClassAreCheckedWhereverTheyStand) {
    for (const char* name : {"OfClass", "OfProperty", "OfReference", "OfMethod", "OfParameter"}) {
        declare(name, CIMDataType::STRING, CIMScope::ANY, true, true);
    }
    CIMParameter parameter("P", CIMDataType::UINT8);
    parameter.setQualifiers({text("OfParameter", "")});
    CIMMethod method("Call", CIMDataType::UINT32);
    method.setQualifiers({text("OfMethod", "")});
    method.setParameters({parameter});
    CIMClass declared("T_All");
    declared.setQualifiers({yes("Association"), text("OfClass", "")});
    declared.setProperties(
        {property("R", CIMDataType::reference("T_All"), {yes("Key"), text("OfReference", "")}),
         property("X", CIMDataType::STRING, {text("OfProperty", "")})});
    declared.setMethods({method});
    const CIMClass derived = derive(declared);
    const CIMClass below = derive(CIMClass("T_Below", "T_All"), &derived);

    const std::map<String, CIMQualifierType> types = m_types;
    for (const char* name : {"OfClass", "OfProperty", "OfReference", "OfMethod", "OfParameter"}) {
        const std::function<void()> changes[] = {
            [&] { m_types.erase(name); },
            [&] { declare(name, CIMDataType::STRING, CIMScope::INDICATION, true, true); },
            [&] { declare(name, CIMDataType::UINT8, CIMScope::ANY, true, true); },
        };
        for (const auto& change : changes) {
            change();
            const auto refused = refusal(derived, nullptr, NullDefaults::KEEP);
            EXPECT_NE(refused.second, 0) << name;
            EXPECT_EQ(refused, refusal(declared)) << "the same as when it is derived anew";
            EXPECT_EQ(refusal(below, &derived, NullDefaults::KEEP).first, "not refused")
                << "what is inherited was checked above";
            m_types = types;
        }
    }
}

TEST_F(ClassDerivationTest, AFeatureDeclaredTwiceIsRefused) {
    CIMClass declared("T_A");
    declared.setProperties({property("X", CIMDataType::UINT8), property("x", CIMDataType::UINT8)});
    EXPECT_EQ(refusal(declared).first, "class T_A, x: property \"x\" is declared twice");

    CIMMethod method("M", CIMDataType::UINT32);
    method.setParameters(
        {CIMParameter("P", CIMDataType::UINT8), CIMParameter("p", CIMDataType::UINT8)});
    CIMClass withMethod("T_A");
    withMethod.setMethods({method});
    EXPECT_EQ(refusal(withMethod).first,
              "class T_A, M, parameter p: parameter \"p\" is declared twice");
}

TEST_F(ClassDerivationTest, AHundredThousandPropertiesAreCheckedWithoutQuadraticWork) {
    CIMPropertyArray many;
    for (int i = 0; i < 100000; ++i) {
        many.push_back(CIMProperty("P" + std::to_string(i), CIMDataType::UINT8));
    }
    CIMClass declared("T_Many");
    declared.setProperties(many);
    EXPECT_EQ(derive(declared).getProperties().size(), 100000U);
    many.push_back(CIMProperty("p99999", CIMDataType::UINT8));
    declared.setProperties(many);
    EXPECT_EQ(refusal(declared).second, CIMException::INVALID_PARAMETER);
}

TEST_F(ClassDerivationTest, QualifiersAreCheckedAgainstTheirDeclarations) {
    const struct {
        const char* claim;
        CIMQualifierArray qualifiers;
        const char* message;
        int status;
    } rows[] = {
        {"unknown qualifier",
         {CIMQualifier("Nowhere", CIMValue(true))},
         "class T_A, X: qualifier \"Nowhere\" is not declared",
         CIMException::INVALID_PARAMETER},
        {"out of scope",
         {CIMQualifier("Association", CIMValue(true))},
         "class T_A, X: qualifier \"Association\" may not stand on a property",
         CIMException::INVALID_PARAMETER},
        {"wrong type",
         {CIMQualifier("Key", CIMValue("yes"))},
         "class T_A, X: qualifier \"Key\" takes a value of type boolean",
         CIMException::TYPE_MISMATCH},
        {"given twice",
         {CIMQualifier("Key", CIMValue(true)), CIMQualifier("Key", CIMValue(true))},
         "class T_A, X: qualifier \"Key\" is given twice",
         CIMException::INVALID_PARAMETER},
    };
    for (const auto& row : rows) {
        CIMClass declared("T_A");
        declared.setProperties({property("X", CIMDataType::STRING, row.qualifiers)});
        EXPECT_EQ(refusal(declared), std::make_pair(String(row.message), row.status)) << row.claim;
    }
}

TEST_F(ClassDerivationTest, ADisableOverrideQualifierKeepsItsValueBelow) {
    const CIMClass above = base();
    CIMClass declared("T_Below", "T_Base");
    declared.setProperties({property("Size", CIMDataType::UINT32, {text("Units", "Bits")})});
    EXPECT_EQ(refusal(declared, &above).first,
              "class T_Below, Size: qualifier \"Units\" cannot be overridden with another value");
    declared.setProperties({property("Size", CIMDataType::UINT32, {text("Units", "Bytes")})});
    EXPECT_EQ(refusal(declared, &above).first, "not refused");
}

TEST_F(ClassDerivationTest, AnOverridingFeatureKeepsItsType) {
    const CIMClass above = base();
    CIMClass declared("T_Below", "T_Base");
    declared.setProperties({property("Size", CIMDataType::UINT64)});
    EXPECT_EQ(
        refusal(declared, &above),
        std::make_pair(String("class T_Below, Size: overrides a property of another type (uint32)"),
                       static_cast<int>(CIMException::TYPE_MISMATCH)));
    declared.setProperties({property("Size", CIMDataType::array(CIMDataType::UINT32))});
    EXPECT_EQ(refusal(declared, &above).second, CIMException::TYPE_MISMATCH);
    CIMClass withMethod("T_Below", "T_Base");
    withMethod.setMethods({CIMMethod("Reset", CIMDataType::STRING)});
    EXPECT_EQ(refusal(withMethod, &above).first,
              "class T_Below, Reset: overrides a method of another return type");
}

TEST_F(ClassDerivationTest, AnOverridingMethodIsCalledLikeTheOverriddenOne) {
    CIMMethod call("Call", CIMDataType::UINT32);
    call.setParameters({CIMParameter("A", CIMDataType::reference("T_Base")),
                        CIMParameter("B", CIMDataType::array(CIMDataType::STRING))});
    CIMClass declared("T_Top");
    declared.setMethods({call});
    const CIMClass above = derive(declared);
    const struct {
        const char* claim;
        CIMParameterArray parameters;
        const char* message;
    } rows[] = {
        {"the same, spelled otherwise, with a narrower reference",
         {CIMParameter("a", CIMDataType::reference("T_Below")),
          CIMParameter("b", CIMDataType::array(CIMDataType::STRING))},
         "not refused"},
        {"another name",
         {CIMParameter("X", CIMDataType::reference("T_Base")),
          CIMParameter("B", CIMDataType::array(CIMDataType::STRING))},
         "class T_Below, Call, parameter X: the overridden method has T_Base REF A in its place"},
        {"another type",
         {CIMParameter("A", CIMDataType::reference("T_Base")),
          CIMParameter("B", CIMDataType::STRING)},
         "class T_Below, Call, parameter B: the overridden method has string[] B in its place"},
        {"another order",
         {CIMParameter("B", CIMDataType::array(CIMDataType::STRING)),
          CIMParameter("A", CIMDataType::reference("T_Base"))},
         "class T_Below, Call, parameter B: the overridden method has T_Base REF A in its place"},
        {"one less",
         {CIMParameter("A", CIMDataType::reference("T_Base"))},
         "class T_Below, Call: overrides a method with 2 parameters, not 1"},
        {"none", {}, "class T_Below, Call: overrides a method with 2 parameters, not 0"},
    };
    for (const auto& row : rows) {
        CIMMethod own("Call", CIMDataType::UINT32);
        own.setParameters(row.parameters);
        CIMClass below("T_Below", "T_Top");
        below.setMethods({own});
        EXPECT_EQ(refusal(below, &above).first, row.message) << row.claim;
    }
}

TEST_F(ClassDerivationTest, NothingIsDerivedFromATerminalClass) {
    CIMClass declared("T_Last");
    declared.setQualifiers({yes("Terminal")});
    const CIMClass last = derive(declared);
    EXPECT_EQ(
        refusal(CIMClass("T_Below", "T_Last"), &last),
        std::make_pair(
            String("class T_Below: the class T_Last is terminal: nothing can be derived from it"),
            static_cast<int>(CIMException::INVALID_SUPERCLASS)));
    declared.setQualifiers({qualifier("Terminal", CIMValue(false))});
    const CIMClass open = derive(declared);
    EXPECT_EQ(refusal(CIMClass("T_Below", "T_Last"), &open).first, "not refused");
}

TEST_F(ClassDerivationTest, PropertiesAndMethodsShareOneSetOfNames) {
    const char* const message = "class T_A, x: a property and a method cannot have the same name";
    CIMClass both("T_A");
    both.setProperties({property("x", CIMDataType::UINT8)});
    both.setMethods({CIMMethod("X", CIMDataType::UINT8)});
    EXPECT_EQ(refusal(both).first, message);

    CIMClass above("T_Top");
    above.setProperties({property("x", CIMDataType::UINT8)});
    CIMClass method("T_A", "T_Top");
    method.setMethods({CIMMethod("X", CIMDataType::UINT8)});
    const CIMClass withProperty = derive(above);
    EXPECT_EQ(refusal(method, &withProperty).first, message);

    above.setProperties({});
    above.setMethods({CIMMethod("X", CIMDataType::UINT8)});
    CIMClass below("T_A", "T_Top");
    below.setProperties({property("x", CIMDataType::UINT8)});
    const CIMClass withMethod = derive(above);
    EXPECT_EQ(refusal(below, &withMethod).first, message);
    EXPECT_EQ(refusal(CIMClass("T_A", "T_Top"), &withMethod).first, "not refused");
}

TEST_F(ClassDerivationTest, OverrideNamesAnInheritedFeatureOfTheSameName) {
    const CIMClass above = base();
    CIMClass declared("T_Below", "T_Base");
    declared.setProperties({property("New", CIMDataType::UINT32, {text("Override", "New")})});
    EXPECT_EQ(refusal(declared, &above).first,
              "class T_Below, New: overrides a feature that no superclass has");
    declared.setProperties({property("New", CIMDataType::UINT32, {text("Override", "Size")})});
    EXPECT_EQ(
        refusal(declared, &above).first,
        "class T_Below, New: an overriding feature keeps its name: it cannot override \"Size\"");
}

TEST_F(ClassDerivationTest, ReferencesStandInAssociationsOnly) {
    CIMClass declared("T_Link");
    declared.setProperties({property("Left", CIMDataType::reference("T_Base"), {yes("Key")})});
    EXPECT_EQ(refusal(declared).first,
              "class T_Link, Left: only an association may have references");
    declared.setQualifiers({yes("Association")});
    EXPECT_EQ(refusal(declared).first, "not refused");
    EXPECT_TRUE(derive(declared).isAssociation());
}

TEST_F(ClassDerivationTest, AReferenceMayBeNarrowedBelow) {
    CIMClass declared("T_Link");
    declared.setQualifiers({yes("Association")});
    declared.setProperties({property("Left", CIMDataType::reference("T_Base"), {yes("Key")})});
    const CIMClass above = derive(declared);
    CIMClass narrower("T_Narrow", "T_Link");
    narrower.setProperties(
        {property("Left", CIMDataType::reference("T_Below"), {text("Override", "Left")})});
    const CIMClass below = derive(narrower, &above);
    EXPECT_EQ(below.getProperty("Left")->getDataType().getRefClassName(), "T_Below");
    EXPECT_TRUE(below.getProperty("Left")->isKey());
    EXPECT_TRUE(below.isAssociation());
}

TEST_F(ClassDerivationTest, AnAssociationDerivesFromAssociationsOnly) {
    const CIMClass above = base();
    CIMClass declared("T_Link", "T_Base");
    declared.setQualifiers({yes("Association")});
    EXPECT_EQ(refusal(declared, &above).second, CIMException::INVALID_SUPERCLASS);
}

TEST_F(ClassDerivationTest, KeysAreComplete) {
    const CIMClass above = base();
    CIMClass declared("T_Below", "T_Base");
    declared.setProperties({property("Second", CIMDataType::STRING, {yes("Key")})});
    EXPECT_EQ(refusal(declared, &above).first,
              "class T_Below, Second: a key cannot be added below a class that has keys");
    CIMClass array("T_A");
    array.setProperties({property("K", CIMDataType::array(CIMDataType::STRING), {yes("Key")})});
    EXPECT_EQ(refusal(array).first, "class T_A, K: an array cannot be a key");
}

TEST_F(ClassDerivationTest, DefaultsHaveTheDeclaredTypeAndLength) {
    CIMClass declared("T_A");
    declared.setProperties({property("X", CIMDataType::UINT8).setValue(CIMValue("five"))});
    EXPECT_EQ(refusal(declared).second, CIMException::TYPE_MISMATCH);
    declared.setProperties({property("X", CIMDataType::array(CIMDataType::UINT8, 2))
                                .setValue(CIMValue::array<uint8_t>({1, 2, 3}))});
    EXPECT_EQ(refusal(declared).first,
              "class T_A, X: the default value does not have the declared length");
}

}  // namespace
}  // namespace OpenWBEM
