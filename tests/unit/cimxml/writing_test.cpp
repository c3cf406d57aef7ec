// SPDX-License-Identifier: Apache-2.0
//
// The text of each element that is written.
#include <gtest/gtest.h>

#include "openwbem/cimxml/Writing.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMException.hpp"

namespace OpenWBEM::CIMXML {
namespace {

String written(const CIMValue& value) {
    String out;
    appendValue(out, value);
    return out;
}

template <class Object>
String written(void (*append)(String&, const Object&), const Object& object) {
    String out;
    append(out, object);
    return out;
}

/// The message of the failure to write, or "written".
template <class Object>
String failureOf(void (*append)(String&, const Object&), const Object& object) {
    try {
        written(append, object);
        return "written";
    } catch (const CIMException& e) {
        EXPECT_EQ(e.getErrNo(), CIMException::FAILED);
        return e.getMessage();
    }
}

CIMInstance instanceWith(CIMProperty property) {
    return CIMInstance("X").setProperties({std::move(property)});
}

CIMQualifier qualifier(const char* name, CIMValue value) {
    return CIMQualifier(name, std::move(value));
}

TEST(CIMXMLWritingTest, SingleValuesAreTextInAVALUE) {
    EXPECT_EQ(written(CIMValue(true)), "<VALUE>TRUE</VALUE>");
    EXPECT_EQ(written(CIMValue(false)), "<VALUE>FALSE</VALUE>");
    EXPECT_EQ(written(CIMValue(uint64_t{UINT64_MAX})), "<VALUE>18446744073709551615</VALUE>");
    EXPECT_EQ(written(CIMValue(int64_t{INT64_MIN})), "<VALUE>-9223372036854775808</VALUE>");
    EXPECT_EQ(written(CIMValue(uint8_t{200})), "<VALUE>200</VALUE>");
    EXPECT_EQ(written(CIMValue(0.1F)), "<VALUE>0.1</VALUE>");
    EXPECT_EQ(written(CIMValue(1e300)), "<VALUE>1.0e+300</VALUE>");
    EXPECT_EQ(written(CIMValue(Char16{0xE9})), "<VALUE>\xC3\xA9</VALUE>");
    EXPECT_EQ(written(CIMValue(CIMDateTime("20260102030405.000000+000"))),
              "<VALUE>20260102030405.000000+000</VALUE>");
    EXPECT_EQ(written(CIMValue()), "");
}

TEST(CIMXMLWritingTest, TextsKeepTheirMarkupAndWhiteSpace) {
    EXPECT_EQ(written(CIMValue(" <a href=\"&\">\r\n\t ")),
              "<VALUE> &lt;a href=\"&amp;\"&gt;&#13;\n\t </VALUE>");
    EXPECT_EQ(written(CIMValue("")), "<VALUE></VALUE>");
}

TEST(CIMXMLWritingTest, ArraysHaveTheirElementsAndNulls) {
    EXPECT_EQ(written(CIMValue::array<String>({"a", "", ""}, {false, true, false})),
              "<VALUE.ARRAY><VALUE>a</VALUE><VALUE.NULL/><VALUE></VALUE></VALUE.ARRAY>");
    EXPECT_EQ(written(CIMValue::array<uint8_t>({})), "<VALUE.ARRAY></VALUE.ARRAY>");
    EXPECT_EQ(written(CIMValue::array<CIMObjectPath>({CIMObjectPath("A"), {}}, {false, true})),
              "<VALUE.REFARRAY><VALUE.REFERENCE><CLASSNAME NAME=\"A\"/></VALUE.REFERENCE>"
              "<VALUE.NULL/></VALUE.REFARRAY>");
}

TEST(CIMXMLWritingTest, ReferencesHaveAsMuchOfTheirPlaceAsTheyKnow) {
    CIMObjectPath path("A");
    path.setKeyValue("k", CIMValue(uint16_t{5}));
    const String name =
        "<INSTANCENAME CLASSNAME=\"A\"><KEYBINDING NAME=\"k\">"
        "<KEYVALUE VALUETYPE=\"numeric\" TYPE=\"uint16\">5</KEYVALUE></KEYBINDING></INSTANCENAME>";
    const String ns =
        "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"x\"/>"
        "</LOCALNAMESPACEPATH>";
    EXPECT_EQ(written(CIMValue(path)), "<VALUE.REFERENCE>" + name + "</VALUE.REFERENCE>");
    path.setNameSpace("root/x");
    EXPECT_EQ(written(CIMValue(path)), "<VALUE.REFERENCE><LOCALINSTANCEPATH>" + ns + name +
                                           "</LOCALINSTANCEPATH></VALUE.REFERENCE>");
    path.setHost("h:1");
    EXPECT_EQ(written(CIMValue(path)),
              "<VALUE.REFERENCE><INSTANCEPATH><NAMESPACEPATH><HOST>h:1</HOST>" + ns +
                  "</NAMESPACEPATH>" + name + "</INSTANCEPATH></VALUE.REFERENCE>");
    EXPECT_EQ(written(CIMValue(CIMObjectPath("A", "root/x"))),
              "<VALUE.REFERENCE><LOCALCLASSPATH>" + ns +
                  "<CLASSNAME NAME=\"A\"/></LOCALCLASSPATH></VALUE.REFERENCE>");
    EXPECT_EQ(written(CIMValue(CIMObjectPath("A", "root/x").setHost("h"))),
              "<VALUE.REFERENCE><CLASSPATH><NAMESPACEPATH><HOST>h</HOST>" + ns +
                  "</NAMESPACEPATH><CLASSNAME NAME=\"A\"/></CLASSPATH></VALUE.REFERENCE>");
}

TEST(CIMXMLWritingTest, KeyValuesSayTheirTypes) {
    CIMObjectPath path("A");
    path.setKeyValue("b", CIMValue(true)).setKeyValue("s", CIMValue("<"));
    path.setKeyValue("r", CIMValue(CIMObjectPath("B")));
    EXPECT_EQ(written(appendInstanceName, path),
              "<INSTANCENAME CLASSNAME=\"A\">"
              "<KEYBINDING NAME=\"b\"><KEYVALUE VALUETYPE=\"boolean\" TYPE=\"boolean\">TRUE"
              "</KEYVALUE></KEYBINDING>"
              "<KEYBINDING NAME=\"s\"><KEYVALUE VALUETYPE=\"string\" TYPE=\"string\">&lt;"
              "</KEYVALUE></KEYBINDING>"
              "<KEYBINDING NAME=\"r\"><VALUE.REFERENCE><CLASSNAME NAME=\"B\"/></VALUE.REFERENCE>"
              "</KEYBINDING></INSTANCENAME>");
}

TEST(CIMXMLWritingTest, AnInstanceHasItsPropertiesByTheirTypes) {
    CIMInstance instance("X");
    instance.setProperties(
        {CIMProperty("s", CIMDataType::STRING, CIMValue("v")), CIMProperty("n", CIMDataType::UINT8),
         CIMProperty("a", CIMDataType::array(CIMDataType::SINT8, 3)),
         CIMProperty("r", CIMDataType::reference("B")).setClassOrigin("O").setPropagated(true)});
    EXPECT_EQ(written(appendInstance, instance),
              "<INSTANCE CLASSNAME=\"X\">"
              "<PROPERTY NAME=\"s\" TYPE=\"string\"><VALUE>v</VALUE></PROPERTY>"
              "<PROPERTY NAME=\"n\" TYPE=\"uint8\"></PROPERTY>"
              "<PROPERTY.ARRAY NAME=\"a\" TYPE=\"sint8\" ARRAYSIZE=\"3\"></PROPERTY.ARRAY>"
              "<PROPERTY.REFERENCE NAME=\"r\" REFERENCECLASS=\"B\" CLASSORIGIN=\"O\""
              " PROPAGATED=\"true\"></PROPERTY.REFERENCE></INSTANCE>");
}

TEST(CIMXMLWritingTest, EmbeddedObjectsAreTheirElementsAsText) {
    const CIMProperty inner("i", CIMDataType::STRING, CIMValue("&"));
    EXPECT_EQ(written(appendInstance, instanceWith(CIMProperty("p", CIMDataType::STRING,
                                                               CIMValue(instanceWith(inner))))),
              "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"p\" TYPE=\"string\""
              " EmbeddedObject=\"instance\"><VALUE>&lt;INSTANCE CLASSNAME=\"X\"&gt;"
              "&lt;PROPERTY NAME=\"i\" TYPE=\"string\"&gt;&lt;VALUE&gt;&amp;amp;&lt;/VALUE&gt;"
              "&lt;/PROPERTY&gt;&lt;/INSTANCE&gt;</VALUE></PROPERTY></INSTANCE>");
    EXPECT_EQ(written(appendInstance,
                      instanceWith(CIMProperty("p", CIMDataType::STRING, CIMValue(CIMClass("C"))))),
              "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"p\" TYPE=\"string\""
              " EmbeddedObject=\"object\"><VALUE>&lt;CLASS NAME=\"C\"&gt;&lt;/CLASS&gt;"
              "</VALUE></PROPERTY></INSTANCE>");
}

TEST(CIMXMLWritingTest, AClassSaysWhatItsPropertiesMayEmbed) {
    CIMClass cls("C", "S");
    cls.setProperties(
        {CIMProperty("i", CIMDataType::STRING)
             .setQualifiers({qualifier("EmbeddedInstance", CIMValue("D"))}),
         CIMProperty("o", CIMDataType::array(CIMDataType::STRING))
             .setQualifiers({qualifier("EmbeddedObject", CIMValue(true)).setPropagated(true)})});
    EXPECT_EQ(written(appendClass, cls),
              "<CLASS NAME=\"C\" SUPERCLASS=\"S\">"
              "<PROPERTY NAME=\"i\" TYPE=\"string\" EmbeddedObject=\"instance\">"
              "<QUALIFIER NAME=\"EmbeddedInstance\" TYPE=\"string\"><VALUE>D</VALUE></QUALIFIER>"
              "</PROPERTY><PROPERTY.ARRAY NAME=\"o\" TYPE=\"string\" EmbeddedObject=\"object\">"
              "<QUALIFIER NAME=\"EmbeddedObject\" TYPE=\"boolean\" PROPAGATED=\"true\">"
              "<VALUE>TRUE</VALUE></QUALIFIER></PROPERTY.ARRAY></CLASS>");
}

TEST(CIMXMLWritingTest, AStringIsNoEmbeddedObjectWhereOneMayBe) {
    CIMProperty property("o", CIMDataType::STRING, CIMValue("text"));
    property.setQualifiers({qualifier("EmbeddedObject", CIMValue(true))});
    EXPECT_EQ(written(appendClass, CIMClass("C").setProperties({property})),
              "<CLASS NAME=\"C\"><PROPERTY NAME=\"o\" TYPE=\"string\">"
              "<QUALIFIER NAME=\"EmbeddedObject\" TYPE=\"boolean\"><VALUE>TRUE</VALUE>"
              "</QUALIFIER><VALUE>text</VALUE></PROPERTY></CLASS>");
}

TEST(CIMXMLWritingTest, AClassHasItsMethodsWithEachKindOfParameter) {
    CIMMethod method("m", CIMDataType::UINT32);
    method.setParameters(
        {CIMParameter("p", CIMDataType::BOOLEAN).setQualifiers({qualifier("In", CIMValue(true))}),
         CIMParameter("a", CIMDataType::array(CIMDataType::STRING, 2)),
         CIMParameter("r", CIMDataType::reference("B")),
         CIMParameter("ra", CIMDataType::referenceArray("B", 4))});
    EXPECT_EQ(
        written(appendClass, CIMClass("C").setMethods(
                                 {method.setClassOrigin("O").setPropagated(true), CIMMethod("v")})),
        "<CLASS NAME=\"C\">"
        "<METHOD NAME=\"m\" TYPE=\"uint32\" CLASSORIGIN=\"O\" PROPAGATED=\"true\">"
        "<PARAMETER NAME=\"p\" TYPE=\"boolean\"><QUALIFIER NAME=\"In\" TYPE=\"boolean\">"
        "<VALUE>TRUE</VALUE></QUALIFIER></PARAMETER>"
        "<PARAMETER.ARRAY NAME=\"a\" TYPE=\"string\" ARRAYSIZE=\"2\"></PARAMETER.ARRAY>"
        "<PARAMETER.REFERENCE NAME=\"r\" REFERENCECLASS=\"B\"></PARAMETER.REFERENCE>"
        "<PARAMETER.REFARRAY NAME=\"ra\" REFERENCECLASS=\"B\" ARRAYSIZE=\"4\">"
        "</PARAMETER.REFARRAY></METHOD><METHOD NAME=\"v\"></METHOD></CLASS>");
}

TEST(CIMXMLWritingTest, AQualifierTypeHasItsScopesAndFlavors) {
    CIMQualifierType type("Q");
    type.setDataType(CIMDataType::array(CIMDataType::STRING, 2))
        .setScopes(CIMScope::CLASS | CIMScope::INDICATION)
        .setFlavor({false, false, true})
        .setDefaultValue(CIMValue::array<String>({"a"}));
    EXPECT_EQ(written(appendQualifierType, type),
              "<QUALIFIER.DECLARATION NAME=\"Q\" TYPE=\"string\" ISARRAY=\"true\" ARRAYSIZE=\"2\""
              " OVERRIDABLE=\"false\" TOSUBCLASS=\"false\" TRANSLATABLE=\"true\">"
              "<SCOPE CLASS=\"true\" INDICATION=\"true\"/>"
              "<VALUE.ARRAY><VALUE>a</VALUE></VALUE.ARRAY></QUALIFIER.DECLARATION>");
}

TEST(CIMXMLWritingTest, PlacesCompletePathsWhichKeepTheirOwn) {
    const Place place{"here", "root"};
    const String end = "</LOCALNAMESPACEPATH></NAMESPACEPATH>";
    CIMObjectPath path("A");
    path.setKeyValue("k", CIMValue("v"));
    String name;
    appendInstanceName(name, path);
    String out;
    appendObjectPath(out, path, place);
    EXPECT_EQ(out,
              "<OBJECTPATH><INSTANCEPATH><NAMESPACEPATH><HOST>here</HOST>"
              "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>" +
                  end + name + "</INSTANCEPATH></OBJECTPATH>");
    out.clear();
    appendInstancePath(out, path.setHost("there").setNameSpace("other"), place);
    EXPECT_EQ(out,
              "<INSTANCEPATH><NAMESPACEPATH><HOST>there</HOST>"
              "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"other\"/>" +
                  end + name + "</INSTANCEPATH>");
    out.clear();
    appendObjectPath(out, CIMObjectPath("A"), place);
    EXPECT_EQ(out,
              "<OBJECTPATH><CLASSPATH><NAMESPACEPATH><HOST>here</HOST>"
              "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>" +
                  end + "<CLASSNAME NAME=\"A\"/></CLASSPATH></OBJECTPATH>");
}

TEST(CIMXMLWritingTest, ObjectsStandBesideTheirNamesAndPaths) {
    const Place place{"here", "root"};
    CIMObjectPath path("A");
    path.setKeyValue("k", CIMValue("v"));
    const CIMInstance instance("A");
    String name;
    appendInstanceName(name, path);
    String full;
    appendInstancePath(full, path, place);
    const String object = "<INSTANCE CLASSNAME=\"A\"></INSTANCE>";
    String out;
    appendNamedInstance(out, path, instance);
    EXPECT_EQ(out, "<VALUE.NAMEDINSTANCE>" + name + object + "</VALUE.NAMEDINSTANCE>");
    out.clear();
    appendInstanceWithPath(out, path, instance, place);
    EXPECT_EQ(out, "<VALUE.INSTANCEWITHPATH>" + full + object + "</VALUE.INSTANCEWITHPATH>");
    out.clear();
    appendObjectWithPath(out, path, instance, place);
    EXPECT_EQ(out, "<VALUE.OBJECTWITHPATH>" + full + object + "</VALUE.OBJECTWITHPATH>");
    out.clear();
    appendObjectWithPath(out, CIMClass("C"), place);
    EXPECT_EQ(out,
              "<VALUE.OBJECTWITHPATH><CLASSPATH><NAMESPACEPATH><HOST>here</HOST>"
              "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/></LOCALNAMESPACEPATH></NAMESPACEPATH>"
              "<CLASSNAME NAME=\"C\"/></CLASSPATH><CLASS NAME=\"C\"></CLASS>"
              "</VALUE.OBJECTWITHPATH>");
}

TEST(CIMXMLWritingTest, WhatXMLCannotHoldIsNamed) {
    EXPECT_EQ(failureOf(appendInstance,
                        instanceWith(CIMProperty("p", CIMDataType::STRING, CIMValue("ab\x01")))),
              "failed: property \"p\" of instance of class \"X\" cannot be sent as XML: it has a "
              "character at byte 3 that XML cannot hold");
    EXPECT_EQ(
        failureOf(appendInstance,
                  instanceWith(CIMProperty("p", CIMDataType::CHAR16, CIMValue(Char16{0xD800})))),
        "failed: property \"p\" of instance of class \"X\" cannot be sent as XML: it has half "
        "of a surrogate pair");
    const CIMProperty inner("i", CIMDataType::STRING, CIMValue("\x02"));
    EXPECT_EQ(failureOf(appendInstance, instanceWith(CIMProperty("p", CIMDataType::STRING,
                                                                 CIMValue(instanceWith(inner))))),
              "failed: property \"i\" of instance of class \"X\" of property \"p\" of instance of "
              "class \"X\" cannot be sent as XML: it has a character at byte 1 that XML cannot "
              "hold");
    EXPECT_EQ(failureOf(appendClass,
                        CIMClass("C").setQualifiers({qualifier("Q", CIMValue("\xEF\xBF\xBF"))})),
              "failed: qualifier \"Q\" of class \"C\" cannot be sent as XML: it has a character at "
              "byte 1 that XML cannot hold");
}

TEST(CIMXMLWritingTest, WhatTheElementsCannotHoldIsNamed) {
    EXPECT_EQ(
        failureOf(appendInstance, instanceWith(CIMProperty("p", CIMDataType::referenceArray("B")))),
        "failed: property \"p\" of instance of class \"X\" cannot be sent as XML: a property "
        "cannot be an array of references");
    EXPECT_EQ(failureOf(appendInstance, instanceWith(CIMProperty("p"))),
              "failed: property \"p\" of instance of class \"X\" cannot be sent as XML: it has no "
              "type");
    const CIMProperty reference("p", CIMDataType::reference("B"),
                                CIMValue(CIMObjectPath("B").setHost("h")));
    EXPECT_EQ(
        failureOf(appendInstance, instanceWith(reference)),
        "failed: property \"p\" of instance of class \"X\" cannot be sent as XML: a reference "
        "names a host without a namespace");
    EXPECT_EQ(failureOf(appendInstanceName, CIMObjectPath("A").setKeyValue("k", CIMValue())),
              "failed: key \"k\" of path of class \"A\" cannot be sent as XML: a key must be a "
              "single value of a simple type");
    EXPECT_EQ(failureOf(appendClass,
                        CIMClass("C").setMethods({CIMMethod("m", CIMDataType::reference("B"))})),
              "failed: method \"m\" of class \"C\" cannot be sent as XML: a method cannot return a "
              "reference or an array");
    EXPECT_EQ(
        failureOf(appendClass,
                  CIMClass("C").setMethods({CIMMethod("m").setParameters({CIMParameter("p")})})),
        "failed: parameter \"p\" of method \"m\" of class \"C\" cannot be sent as XML: it has "
        "no type");
    EXPECT_EQ(failureOf(appendQualifierType,
                        CIMQualifierType("Q").setDataType(CIMDataType::reference("B"))),
              "failed: qualifier type \"Q\" cannot be sent as XML: it has no type that a qualifier "
              "can have");
}

}  // namespace
}  // namespace OpenWBEM::CIMXML
