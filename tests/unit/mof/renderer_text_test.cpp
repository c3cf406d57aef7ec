// SPDX-License-Identifier: Apache-2.0
//
// The exact text that the renderer writes.
#include <gtest/gtest.h>

#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/ObjectFilter.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace OpenWBEM::MOF {
namespace {

TEST(RendererTextTest, StringsAreEscapedOnOneLine) {
    struct Row {
        std::string_view text;
        const char* mof;
    };
    constexpr Row ROWS[] = {
        {"", R"("")"},
        {"plain", R"("plain")"},
        {"\b\t\n\f\r\"\\", R"("\b\t\n\f\r\"\\")"},
        {"\x01\x1F\x7F", R"("\x0001\x001F\x007F")"},
        // U+FFFE and U+FFFF are escaped, because XML cannot hold them.
        {"\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBF", "\"\xEF\xBF\xBD\\xFFFE\\xFFFF\""},
        {"\x01"
         "a",
         R"("\x0001a")"},
        {"'", R"("'")"},
        {"\xE2\x82\xAC \xF0\x9F\x98\x80", "\"\xE2\x82\xAC \xF0\x9F\x98\x80\""},
    };
    for (const Row& row : ROWS) {
        EXPECT_EQ(row.mof, toMOFString(row.text));
        EXPECT_EQ(row.mof, toMOF(CIMValue(String(row.text))));
    }
    const String long_(100000, 'x');
    EXPECT_EQ('"' + long_ + '"', toMOFString(long_));
}

TEST(RendererTextTest, EveryTypeHasItsLiteral) {
    EXPECT_EQ("NULL", toMOF(CIMValue()));
    EXPECT_EQ("TRUE", toMOF(CIMValue(true)));
    EXPECT_EQ("FALSE", toMOF(CIMValue(false)));
    EXPECT_EQ("200", toMOF(CIMValue(uint8_t{200})));
    EXPECT_EQ("-9223372036854775808", toMOF(CIMValue(INT64_MIN)));
    EXPECT_EQ("18446744073709551615", toMOF(CIMValue(UINT64_MAX)));
    EXPECT_EQ("1.0", toMOF(CIMValue(1.0)));
    EXPECT_EQ("-1.5e-300", toMOF(CIMValue(-1.5e-300)));
    EXPECT_EQ("0.1", toMOF(CIMValue(0.1F)));
    EXPECT_EQ("'x'", toMOF(CIMValue(Char16{u'x'})));
    EXPECT_EQ(R"('\'')", toMOF(CIMValue(Char16{u'\''})));
    EXPECT_EQ(R"('\xD83D')", toMOF(CIMValue(Char16{0xD83D})));
    EXPECT_EQ(R"("00000001000000.000000:000")",
              toMOF(CIMValue(CIMDateTime("00000001000000.000000:000"))));
    EXPECT_EQ(R"("ns:A.k=\"a\\\"b\"")", toMOF(CIMValue(CIMObjectPath::parse(R"(ns:A.k="a\"b")"))));
    EXPECT_EQ(R"("instance of A\n{\n    p =\n        \"\\x000A\";\n};\n")",
              toMOF(CIMValue(CIMInstance("A").setProperty("p", CIMValue("\n")))));
    EXPECT_EQ(R"("class A : B\n{\n};\n")", toMOF(CIMValue(CIMClass("A", "B"))));
    EXPECT_EQ("{}", toMOF(CIMValue::array<uint8_t>({})));
    EXPECT_EQ("{1, NULL, 3}", toMOF(CIMValue::array<uint8_t>({1, 2, 3}, {false, true, false})));
}

CIMClass derivedClass() {
    const CIMFlavor restricted{false, false, false};
    CIMParameter parameter("P", CIMDataType::array(CIMDataType::STRING, 3));
    parameter.setQualifiers({CIMQualifier("In", CIMValue(true), restricted)});
    CIMMethod method("M", CIMDataType::UINT32);
    method.setParameters({parameter, CIMParameter("R", CIMDataType::reference("X"))});
    CIMProperty own("Own", CIMDataType::array(CIMDataType::UINT8),
                    CIMValue::array<uint8_t>({1, 2}));
    own.setQualifiers(
        {CIMQualifier("Values", CIMValue::array<String>({"a", "b"}), CIMFlavor{true, true, true}),
         CIMQualifier("Gone", CIMValue("x")).setPropagated(true),
         CIMQualifier("Null", CIMValue(), restricted)});
    return CIMClass("D", "B")
        .setQualifiers({CIMQualifier("Gone", CIMValue(true)).setPropagated(true),
                        CIMQualifier("Version", CIMValue("1"))})
        .setProperties({CIMProperty("Old", CIMDataType::STRING).setPropagated(true), own})
        .setMethods({CIMMethod("OldM", CIMDataType::UINT8).setPropagated(true), method,
                     CIMMethod("N", CIMDataType::BOOLEAN)});
}

constexpr const char* DERIVED_TEXT = R"([Version ("1") : EnableOverride ToSubclass]
class D : B
{
    [Values {"a", "b"} : EnableOverride ToSubclass Translatable,
     Null (NULL) : DisableOverride Restricted]
    uint8 Own[] = {1, 2};
    uint32 M(
        [In (TRUE) : DisableOverride Restricted]
        string P[3],
        X REF R);
    boolean N();
};
)";

TEST(RendererTextTest, OnlyWhatTheClassItselfDeclaresIsWritten) {
    EXPECT_EQ(DERIVED_TEXT, toMOF(derivedClass()));
}

TEST(RendererTextTest, ADerivedClassAndItsLocalPartHaveOneText) {
    EXPECT_EQ(DERIVED_TEXT, toMOF(derivedClass().filter(WantedParts{
                                E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN})));
}

TEST(RendererTextTest, AnOverridingPropertyWithoutAValueSaysSo) {
    const CIMFlavor restricted{false, false, false};
    const CIMQualifier own("Override", CIMValue("P"), restricted);
    const struct {
        const char* sentence;
        const char* origin;
        CIMQualifierArray qualifiers;
        bool isOverriding;
    } rows[] = {
        {"nothing tells of a superclass", "", {}, false},
        {"it comes from this class", "d", {}, false},
        {"it comes from a superclass", "B", {}, true},
        {"it overrides, as it says itself", "", {own}, true},
        {"it overrides, as it says although it comes from this class", "D", {own}, true},
        {"what it overrides says so", "", {CIMQualifier(own).setPropagated(true)}, false},
    };
    for (const auto& row : rows) {
        CIMProperty property("P", CIMDataType::UINT8);
        property.setClassOrigin(row.origin).setQualifiers(row.qualifiers);
        const String text = toMOF(CIMClass("D", "B").setProperties({property}));
        EXPECT_EQ(row.isOverriding, text.find("uint8 P = NULL;") != String::npos)
            << row.sentence << '\n'
            << text;
        EXPECT_EQ(!row.isOverriding, text.find("uint8 P;") != String::npos) << row.sentence;
    }
}

TEST(RendererTextTest, AQualifierTypeTellsEverything) {
    CIMQualifierType type("Q");
    type.setDataType(CIMDataType::array(CIMDataType::STRING)).setScopes(CIMScope::ANY);
    type.setFlavor(CIMFlavor{false, false, true});
    EXPECT_EQ(
        "Qualifier Q : string[] = NULL,\n    Scope(any),\n    "
        "Flavor(DisableOverride, Restricted, Translatable);\n",
        toMOF(type));
    type.setDataType(CIMDataType::BOOLEAN).setDefaultValue(CIMValue(false));
    type.setScopes(CIMScope::CLASS | CIMScope::REFERENCE).setFlavor(CIMFlavor());
    EXPECT_EQ(
        "Qualifier Q : boolean = FALSE,\n    Scope(class, reference),\n    "
        "Flavor(EnableOverride, ToSubclass);\n",
        toMOF(type));
}

TEST(RendererTextTest, AnInstanceTellsEveryPropertyNullToo) {
    CIMInstance instance("A");
    instance.setProperty("a", CIMValue(true)).setProperty(CIMProperty("b", CIMDataType::UINT8));
    instance.setQualifiers({CIMQualifier("Description", CIMValue("d")),
                            CIMQualifier("Gone", CIMValue("x")).setPropagated(true)});
    EXPECT_EQ(
        "[Description (\"d\") : EnableOverride ToSubclass]\n"
        "instance of A\n{\n    a = TRUE;\n    b = NULL;\n};\n",
        toMOF(instance));
}

TEST(RendererTextTest, AnEmbeddedInstanceHasNoValueOnTheLineOfItsName) {
    CIMInstance part("Part");
    part.setProperty("a", CIMValue("x\n\\\"")).setProperty(CIMProperty("b", CIMDataType::UINT8));
    EXPECT_EQ(
        "instance of A\n{\n    Process = \"instance of Part\\n{\\n"
        "    a =\\n        \\\"x\\\\x000A\\\\x005C\\\\\\\"\\\";\\n"
        "    b =\\n        NULL;\\n};\\n\";\n};\n",
        toMOF(CIMInstance("A").setProperty("Process", CIMValue(part))));
}

}  // namespace
}  // namespace OpenWBEM::MOF
