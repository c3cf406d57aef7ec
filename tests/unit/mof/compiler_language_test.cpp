// SPDX-License-Identifier: Apache-2.0
//
// The meaning of each construct of the language.
#include <limits>

#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

/// The default value of the only property of a class "C" declared as given.
CIMValue valueOf(const String& declaration) {
    return compileWith("class C { " + declaration + "; };").cls("C").getProperties()[0].getValue();
}

TEST(MofLanguageTest, EmptyTextsDeclareNothing) {
    for (const char* text : {"", "  \n", "// only\n", "/* a * comment **/", "\xEF\xBB\xBF"}) {
        const Compiled compiled = compileText(text);
        EXPECT_TRUE(compiled.classes.empty() && compiled.instances.empty() &&
                    compiled.qualifierTypes.empty())
            << text;
    }
}

TEST(MofLanguageTest, IntegersHaveFourBasesAndASign) {
    EXPECT_EQ(valueOf("sint32 p = -42"), CIMValue(int32_t{-42}));
    EXPECT_EQ(valueOf("sint32 p = +42"), CIMValue(int32_t{42}));
    EXPECT_EQ(valueOf("uint8 p = 0x1F"), CIMValue(uint8_t{31}));
    EXPECT_EQ(valueOf("sint8 p = -0Xf"), CIMValue(int8_t{-15}));
    EXPECT_EQ(valueOf("uint16 p = 017"), CIMValue(uint16_t{15}));
    EXPECT_EQ(valueOf("uint16 p = 101b"), CIMValue(uint16_t{5}));
    EXPECT_EQ(valueOf("uint16 p = 0B"), CIMValue(uint16_t{0}));
    EXPECT_EQ(valueOf("uint16 p = 0"), CIMValue(uint16_t{0}));
    EXPECT_EQ(valueOf("uint8 p = 0x1b"), CIMValue(uint8_t{27}));
}

TEST(MofLanguageTest, IntegersReachTheEndsOfTheirTypes) {
    EXPECT_EQ(valueOf("sint8 p = -128"), CIMValue(int8_t{-128}));
    EXPECT_EQ(valueOf("sint64 p = -9223372036854775808"),
              CIMValue(std::numeric_limits<int64_t>::min()));
    EXPECT_EQ(valueOf("sint64 p = 9223372036854775807"),
              CIMValue(std::numeric_limits<int64_t>::max()));
    EXPECT_EQ(valueOf("uint64 p = 0xFFFFFFFFFFFFFFFF"),
              CIMValue(std::numeric_limits<uint64_t>::max()));
    EXPECT_EQ(valueOf("uint64 p = -0"), CIMValue(uint64_t{0}));
}

TEST(MofLanguageTest, NumbersOutOfRangeAreRefused) {
    for (const char* p :
         {"uint8 p = 256", "uint8 p = -1", "sint8 p = 128", "sint8 p = -129",
          "uint64 p = 18446744073709551616", "sint64 p = -9223372036854775809", "real32 p = 1.0e39",
          "real64 p = 1.0e309", "real64 p = 99999999999999999999999"}) {
        EXPECT_NE(complaintOf("class C { " + String(p) + "; };").find("is out of range for"),
                  String::npos)
            << p;
    }
}

TEST(MofLanguageTest, RealsAcceptIntegersToo) {
    EXPECT_EQ(valueOf("real64 p = 2.5E-3"), CIMValue(2.5e-3));
    EXPECT_EQ(valueOf("real64 p = .5"), CIMValue(0.5));
    EXPECT_EQ(valueOf("real32 p = +1.5"), CIMValue(1.5F));
    EXPECT_EQ(valueOf("real64 p = -3"), CIMValue(-3.0));
    EXPECT_EQ(valueOf("real64 p = 0x10"), CIMValue(16.0));
    EXPECT_EQ(valueOf("real64 p = -0.0"), CIMValue(-0.0));
}

TEST(MofLanguageTest, StringsHaveEscapesAndArePiecedTogether) {
    EXPECT_EQ(valueOf(R"(string p = "a\b\t\n\f\r\"\'\\z")"), CIMValue("a\b\t\n\f\r\"'\\z"));
    EXPECT_EQ(valueOf(R"(string p = "\x41\x0042\XE9g\x20aCc")"), CIMValue("AB\xC3\xA9g\xE2\x82\xAC"
                                                                          "c"));
    EXPECT_EQ(valueOf(R"(string p = "\xD83D\xDE00")"), CIMValue("\xF0\x9F\x98\x80"));
    EXPECT_EQ(valueOf("string p = \"one \" /* and */ \"two\"\n // or\n \" three\""),
              CIMValue("one two three"));
    EXPECT_EQ(valueOf("string p = \"\xC3\xA4\""), CIMValue("\xC3\xA4"));
    EXPECT_EQ(valueOf("string p = \"\""), CIMValue(""));
    EXPECT_EQ(valueOf("string p = \"a\tb // /* no comment\""), CIMValue("a\tb // /* no comment"));
}

TEST(MofLanguageTest, CharactersAreOneCodeUnit) {
    EXPECT_EQ(valueOf("char16 p = 'x'"), CIMValue(Char16{u'x'}));
    EXPECT_EQ(valueOf("char16 p = '\\''"), CIMValue(Char16{u'\''}));
    EXPECT_EQ(valueOf("char16 p = '\"'"), CIMValue(Char16{u'"'}));
    EXPECT_EQ(valueOf("char16 p = '\\x0'"), CIMValue(Char16{0}));
    EXPECT_EQ(valueOf("char16 p = '\\xD800'"), CIMValue(Char16{0xD800}));
    EXPECT_EQ(valueOf("char16 p = '\xE2\x82\xAC'"), CIMValue(Char16{0x20AC}));
}

TEST(MofLanguageTest, BooleansDatetimesAndNull) {
    EXPECT_EQ(valueOf("boolean p = TRUE"), CIMValue(true));
    EXPECT_EQ(valueOf("boolean p = fAlSe"), CIMValue(false));
    EXPECT_EQ(valueOf("datetime p = \"20260102030405.000000+060\""),
              CIMValue(CIMDateTime("20260102030405.000000+060")));
    EXPECT_TRUE(valueOf("string p = NULL").isNull());
    EXPECT_TRUE(valueOf("uint8 p[] = null").isNull());
    EXPECT_TRUE(valueOf("uint8 p").isNull());
}

TEST(MofLanguageTest, ArraysMayBeEmptyFixedAndHoldNull) {
    EXPECT_EQ(valueOf("uint8 p[] = {}"), CIMValue::array<uint8_t>({}));
    EXPECT_EQ(valueOf("uint8 p[] = {1, NULL, 3}"),
              CIMValue::array<uint8_t>({1, 0, 3}, {false, true, false}));
    EXPECT_EQ(valueOf("string p[2] = {\"a\" \"b\", \"c\"}"), CIMValue::array<String>({"ab", "c"}));
    EXPECT_EQ(valueOf("boolean p[] = {true, false}"), CIMValue::array<bool>({true, false}));
    const CIMClass cls = compileWith("class C { uint8 open[]; uint8 three[0x3]; };").cls("C");
    EXPECT_EQ(cls.getProperties()[0].getDataType(), CIMDataType::array(CIMDataType::UINT8));
    EXPECT_EQ(cls.getProperties()[1].getDataType(), CIMDataType::array(CIMDataType::UINT8, 3));
}

TEST(MofLanguageTest, QualifiersTakeTheirFlavorsFromTypeAndText) {
    const CIMClass cls = compileWith(R"([Description("d")] class C {
        [Description ( "x" "y" ) : DisableOverride Restricted, ValueMap{"1","2"}: restricted,
         MaxLen ( 5 )] string a;
        [ValueMap ( {"3"} ), MaxLen] string b; [Key] string k; };)")
                             .cls("C");
    const auto flavor = [](bool overridable, bool toSubclass, bool translatable) {
        CIMFlavor f;
        f.overridable = overridable;
        f.toSubclass = toSubclass;
        f.translatable = translatable;
        return f;
    };
    const CIMProperty& a = *cls.getProperty("a");
    EXPECT_EQ(*a.getQualifier("Description"),
              CIMQualifier("Description", CIMValue("xy"), flavor(false, false, true)));
    EXPECT_EQ(
        *a.getQualifier("ValueMap"),
        CIMQualifier("ValueMap", CIMValue::array<String>({"1", "2"}), flavor(true, false, false)));
    EXPECT_EQ(a.getQualifier("MaxLen")->getValue(), CIMValue(uint32_t{5}));
    const CIMProperty& b = *cls.getProperty("b");
    EXPECT_EQ(b.getQualifier("ValueMap")->getValue(), CIMValue::array<String>({"3"}));
    EXPECT_TRUE(b.getQualifier("MaxLen")->getValue().isNull());
    EXPECT_EQ(*cls.getProperty("k")->getQualifier("Key"),
              CIMQualifier("Key", CIMValue(true), flavor(false, true, false)));
}

TEST(MofLanguageTest, QualifierTypesHaveScopesAndFlavors) {
    const Compiled compiled = compileText(
        "Qualifier A : uint8[2] = {1, 2}, Scope(class, association, indication, property);\n"
        "qualifier B : string, scope(reference, METHOD, parameter),\n"
        "  flavor(DisableOverride, Restricted, Translatable);\n"
        "Qualifier Qualifier : boolean = true, Scope(any), Flavor(EnableOverride, ToSubclass);");
    ASSERT_EQ(compiled.qualifierTypes.size(), 3U);
    const CIMQualifierType& a = compiled.qualifierTypes[0];
    EXPECT_EQ(a.getDataType(), CIMDataType::array(CIMDataType::UINT8, 2));
    EXPECT_EQ(a.getDefaultValue(), CIMValue::array<uint8_t>({1, 2}));
    EXPECT_EQ(a.getScopes(),
              CIMScope::CLASS | CIMScope::ASSOCIATION | CIMScope::INDICATION | CIMScope::PROPERTY);
    EXPECT_EQ(a.getFlavor(), CIMFlavor());
    const CIMQualifierType& b = compiled.qualifierTypes[1];
    EXPECT_EQ(b.getScopes(), CIMScope::REFERENCE | CIMScope::METHOD | CIMScope::PARAMETER);
    EXPECT_FALSE(b.getFlavor().overridable);
    EXPECT_FALSE(b.getFlavor().toSubclass);
    EXPECT_TRUE(b.getFlavor().translatable);
    EXPECT_EQ(compiled.qualifierTypes[2].getName(), "Qualifier");
    EXPECT_EQ(compiled.qualifierTypes[2].getScopes(), CIMScope::ANY);
}

TEST(MofLanguageTest, MethodsHaveParametersOfEveryKind) {
    const CIMClass cls =
        compileWith(
            "class C { [Description(\"m\")] uint32 m([In] string a, [In(false)] C REF b,"
            " uint8 c[], C REF d[4]); boolean n(); };")
            .cls("C");
    const CIMMethod& m = *cls.getMethod("M");
    EXPECT_EQ(m.getReturnType(), CIMDataType(CIMDataType::UINT32));
    ASSERT_EQ(m.getParameters().size(), 4U);
    EXPECT_EQ(m.getParameters()[0].getQualifiers()[0].getValue(), CIMValue(true));
    EXPECT_EQ(m.getParameters()[1].getDataType(), CIMDataType::reference("C"));
    EXPECT_EQ(m.getParameters()[2].getDataType(), CIMDataType::array(CIMDataType::UINT8));
    EXPECT_EQ(m.getParameters()[3].getDataType(), CIMDataType::referenceArray("C", 4));
    EXPECT_TRUE(cls.getMethod("n")->getParameters().empty());
}

TEST(MofLanguageTest, KeywordsAreNamesWhereNothingElseIsMeant) {
    const Compiled compiled = compileWith(
        "class Class { [Key] string Scope; string Flavor; string Qualifier; string As; string Of;"
        " string Ref; string Instance; string True; string Null; string Uint8; string Any;"
        " string Source; };\n"
        "[Association] class Instance { [Key] Class REF Ref; [Key] Instance REF Class; };\n"
        "instance of Class { Scope = \"s\"; Flavor = \"f\"; True = \"t\"; Null = NULL; uint8 = "
        "\"u\"; };");
    EXPECT_EQ(compiled.cls("class").getProperties().size(), 12U);
    EXPECT_EQ(compiled.cls("instance").getProperty("Ref")->getDataType(),
              CIMDataType::reference("Class"));
    EXPECT_EQ(compiled.instances[0].getPropertyValue("True"), CIMValue("t"));
}

TEST(MofLanguageTest, KeywordsAndNamesAreFoundInAnyCase) {
    const Compiled compiled = compileWith(
        "CLASS a { [KEY] STRING K; }; Class B : A { UINT8 x; };"
        "INSTANCE OF b { k = \"1\"; X = 2; };");
    EXPECT_EQ(compiled.cls("B").getSuperClass(), "a");
    EXPECT_EQ(compiled.instances[0].getPropertyValue("x"), CIMValue(uint8_t{2}));
}

TEST(MofLanguageTest, NamesMayHoldCharactersBeyondAscii) {
    const Compiled compiled = compileText(
        "class Stra\xC3\x9F"
        "e { uint8 \xC3\xA4; };");
    EXPECT_EQ(compiled.classes[0].getName(),
              "Stra\xC3\x9F"
              "e");
    EXPECT_EQ(compiled.classes[0].getProperties()[0].getName(), "\xC3\xA4");
}

TEST(MofLanguageTest, PragmasThatNobodyKnowsAreReadOver) {
    EXPECT_EQ(compileText("#pragma locale (\"en_US\")\n#PRAGMA instancelocale(\"de\")\n"
                          "# pragma source(\"//host/ns\") #pragma mine(yes) #pragma n(5)\n"
                          "class C {}; #pragma nonlocal(\"x\" \"y\")")
                  .classes.size(),
              1U);
}

TEST(MofLanguageTest, InstancesTakeDefaultsAndKeepTheirQualifiers) {
    const Compiled compiled = compileWith(
        "class C { [Key] uint8 k; string d = \"default\"; string n = \"default\"; };"
        "[Description(\"i\")] instance of C { [Description(\"p\")] k = 1; n = NULL; };");
    const CIMInstance& instance = compiled.instances.at(0);
    EXPECT_EQ(instance.getQualifiers().at(0).getValue(), CIMValue("i"));
    EXPECT_EQ(instance.getPropertyValue("d"), CIMValue("default"));
    EXPECT_TRUE(instance.getPropertyValue("n").isNull());
    EXPECT_TRUE(instance.getProperty("k")->isKey());
}

TEST(MofLanguageTest, NullReplacesAnInheritedDefaultAndNothingLeavesIt) {
    const Compiled compiled = compileWith(
        "class A { uint8 x = 1; uint8 a[] = {1}; string s = \"t\"; };"
        "class B : A { uint8 X = NULL; uint8 a[] = NULL; string s; };"
        "class C : B { [Override(\"x\")] uint8 x; };");
    EXPECT_TRUE(compiled.cls("B").getProperty("x")->getValue().isNull());
    EXPECT_TRUE(compiled.cls("B").getProperty("a")->getValue().isNull());
    EXPECT_EQ(compiled.cls("B").getProperty("s")->getValue(), CIMValue("t"));
    EXPECT_TRUE(compiled.cls("C").getProperty("x")->getValue().isNull());
    // The rendered text of each class compiles to an equal class.
    String text = PRELUDE;
    for (const CIMClass& cls : compiled.classes) {
        text += toMOF(cls);
    }
    EXPECT_EQ(compileText(text).classes, compiled.classes);
}

}  // namespace
}  // namespace OpenWBEM::MOF
