// SPDX-License-Identifier: Apache-2.0
//
// Names, paths, references and embedded objects, as they are read.
#include "openwbem/cimxml/Writing.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "tests/unit/cimxml/Documents.hpp"

namespace OpenWBEM::CIMXML {
namespace {

const String NAMESPACE =
    "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"x\"/></LOCALNAMESPACEPATH>";

String name(const String& keys) {
    return "<INSTANCENAME CLASSNAME=\"A\">" + keys + "</INSTANCENAME>";
}
String key(const String& keyName, const String& value) {
    return "<KEYBINDING NAME=\"" + keyName + "\">" + value + "</KEYBINDING>";
}
String reference(const String& path) {
    return "<VALUE.REFERENCE>" + path + "</VALUE.REFERENCE>";
}

/// The value of the only key.
CIMValue keyOf(const String& value) {
    return argument<CIMObjectPath>(name(key("k", value))).getKeyValue("k");
}

/// An instance with a property of that attribute and value.
String embedding(const String& kind, const String& text) {
    String out;
    appendValue(out, CIMValue(text));
    return "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"p\" TYPE=\"string\" EmbeddedObject=\"" +
           kind + "\">" + out + "</PROPERTY></INSTANCE>";
}

TEST(CIMXMLPathsTest, AKeyHasTheTypeThatItSays) {
    EXPECT_EQ(keyOf("<KEYVALUE VALUETYPE=\"numeric\" TYPE=\"uint16\">5</KEYVALUE>"),
              CIMValue(uint16_t{5}));
    EXPECT_EQ(keyOf("<KEYVALUE TYPE=\"datetime\">20260102030405.000000+060</KEYVALUE>"),
              CIMValue(CIMDateTime("20260102030405.000000+060")));
    EXPECT_EQ(keyOf("<KEYVALUE TYPE=\"char16\">x</KEYVALUE>"), CIMValue(Char16{u'x'}));
    EXPECT_EQ(keyOf("<KEYVALUE TYPE=\"boolean\">false</KEYVALUE>"), CIMValue(false));
}

TEST(CIMXMLPathsTest, AKeyWithoutATypeHasTheWidestOfItsKind) {
    EXPECT_EQ(keyOf("<KEYVALUE> 5 </KEYVALUE>"), CIMValue(" 5 "));
    EXPECT_EQ(keyOf("<KEYVALUE VALUETYPE=\"string\">5</KEYVALUE>"), CIMValue("5"));
    EXPECT_EQ(keyOf("<KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE>"), CIMValue(true));
    EXPECT_EQ(keyOf("<KEYVALUE VALUETYPE=\"numeric\">5</KEYVALUE>"), CIMValue(uint64_t{5}));
    EXPECT_EQ(keyOf("<KEYVALUE VALUETYPE=\"numeric\">-0x5</KEYVALUE>"), CIMValue(int64_t{-5}));
    EXPECT_EQ(keyOf("<KEYVALUE VALUETYPE=\"numeric\">1.5</KEYVALUE>"), CIMValue(1.5));
    EXPECT_EQ(contentError(name(key("k", "<KEYVALUE VALUETYPE=\"numeric\">five</KEYVALUE>"))),
              "invalid parameter: argument \"A\": key \"k\": \"five\" is no number");
    EXPECT_EQ(elementError(name(key("k", "<KEYVALUE VALUETYPE=\"text\">5</KEYVALUE>"))),
              "request-not-valid: the attribute VALUETYPE must be string, boolean or numeric");
}

TEST(CIMXMLPathsTest, AnOnlyKeyNeedsNoName) {
    CIMObjectPath path("A");
    path.setKeyValue("", CIMValue("v"));
    EXPECT_EQ(argument<CIMObjectPath>(name("<KEYVALUE>v</KEYVALUE>")), path);
    path.setKeyValue("", CIMValue(CIMObjectPath("B")));
    EXPECT_EQ(argument<CIMObjectPath>(name(reference("<CLASSNAME NAME=\"B\"/>"))), path);
    EXPECT_EQ(elementError(name("<KEYVALUE/><KEYVALUE/>")),
              "request-not-valid: the element KEYVALUE must not be here");
    EXPECT_EQ(elementError(name(key("k", "<KEYVALUE/>") + "<KEYVALUE/>")),
              "request-not-valid: the element KEYVALUE must not be here");
}

TEST(CIMXMLPathsTest, ABindingHasOneValue) {
    EXPECT_EQ(elementError(name(key("k", ""))),
              "request-not-valid: a KEYBINDING must have a value");
    EXPECT_EQ(elementError(name(key("k", "<KEYVALUE/><KEYVALUE/>"))),
              "request-not-valid: the element KEYVALUE must not be here");
    EXPECT_EQ(elementError(name(key("k", "<VALUE/>"))),
              "request-not-valid: the element VALUE must not be here");
}

TEST(CIMXMLPathsTest, AReferenceHasThePlaceThatItsPathHas) {
    CIMObjectPath path("A");
    path.setKeyValue("k", CIMValue("v"));
    const String instanceName = name(key("k", "<KEYVALUE>v</KEYVALUE>"));
    const String cls = "<CLASSNAME NAME=\"A\"/>";
    const String full = "<NAMESPACEPATH><HOST>h:1</HOST>" + NAMESPACE + "</NAMESPACEPATH>";
    EXPECT_EQ(argument<CIMObjectPath>(reference(instanceName)), path);
    EXPECT_EQ(argument<CIMObjectPath>(reference(cls)), CIMObjectPath("A"));
    path.setNameSpace("root/x");
    EXPECT_EQ(argument<CIMObjectPath>(reference("<LOCALINSTANCEPATH>" + NAMESPACE + instanceName +
                                                "</LOCALINSTANCEPATH>")),
              path);
    EXPECT_EQ(argument<CIMObjectPath>(
                  reference("<LOCALCLASSPATH>" + NAMESPACE + cls + "</LOCALCLASSPATH>")),
              CIMObjectPath("A", "root/x"));
    path.setHost("h:1");
    EXPECT_EQ(argument<CIMObjectPath>(
                  reference("<INSTANCEPATH>" + full + instanceName + "</INSTANCEPATH>")),
              path);
    EXPECT_EQ(argument<CIMObjectPath>(reference("<CLASSPATH>" + full + cls + "</CLASSPATH>")),
              CIMObjectPath("A", "root/x").setHost("h:1"));
}

TEST(CIMXMLPathsTest, APathIsComplete) {
    EXPECT_EQ(elementError(reference("")), "request-not-valid: a VALUE.REFERENCE must have a path");
    EXPECT_EQ(elementError(reference("<VALUE/>")),
              "request-not-valid: the element VALUE must not be here");
    EXPECT_EQ(elementError(reference("<LOCALCLASSPATH/>")),
              "request-not-valid: the element LOCALNAMESPACEPATH is missing");
    EXPECT_EQ(elementError(reference("<INSTANCEPATH>" + NAMESPACE + "</INSTANCEPATH>")),
              "request-not-valid: the element LOCALNAMESPACEPATH must not be here");
    EXPECT_EQ(elementError(reference("<LOCALCLASSPATH>" + NAMESPACE + "</LOCALCLASSPATH>")),
              "request-not-valid: the element CLASSNAME is missing");
    EXPECT_EQ(elementError(reference("<LOCALCLASSPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"/\"/>"
                                     "</LOCALNAMESPACEPATH></LOCALCLASSPATH>")),
              "request-not-valid: a namespace has no name");
    EXPECT_EQ(elementError(reference("<LOCALCLASSPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"" +
                                     String(8192, 'x') +
                                     "\"/><NAMESPACE NAME=\"x\"/>"
                                     "</LOCALNAMESPACEPATH></LOCALCLASSPATH>")),
              "request-not-valid: the name of a namespace is longer than 8192 bytes");
}

TEST(CIMXMLPathsTest, NamesInReferencesAreChecked) {
    const auto errorOf = [](const String& path) {
        return contentError("<INSTANCE CLASSNAME=\"X\"><PROPERTY.REFERENCE NAME=\"r\">" +
                            reference(path) + "</PROPERTY.REFERENCE></INSTANCE>");
    };
    const String start = "invalid parameter: argument \"A\": property \"r\": ";
    EXPECT_EQ(errorOf("<CLASSNAME NAME=\"no name\"/>"),
              start + "the name of a class is not an identifier");
    EXPECT_EQ(errorOf(name(key("no name", "<KEYVALUE/>"))),
              start + "the name of a key is not an identifier");
    EXPECT_EQ(errorOf(name("<KEYVALUE/>")), start + "a reference must name its keys");
}

TEST(CIMXMLPathsTest, EmbeddedObjectsAreReadFromTheirText) {
    const auto embedded = [](const String& kind, const String& text) {
        return argument<CIMInstance>(embedding(kind, text)).getPropertyValue("p");
    };
    EXPECT_EQ(embedded("instance", "<?xml version=\"1.0\"?>\n<INSTANCE CLASSNAME=\"I\"/>\n"),
              CIMValue(CIMInstance("I")));
    EXPECT_EQ(embedded("object", "<INSTANCE CLASSNAME=\"I\"/>"), CIMValue(CIMInstance("I")));
    EXPECT_EQ(embedded("object", "<CLASS NAME=\"C\"/>"), CIMValue(CIMClass("C")));
}

TEST(CIMXMLPathsTest, AnArrayHoldsEmbeddedObjectsOfOneKind) {
    const auto array = [](const String& elements) {
        return "<INSTANCE CLASSNAME=\"X\"><PROPERTY.ARRAY NAME=\"p\" TYPE=\"string\""
               " EmbeddedObject=\"object\"><VALUE.ARRAY>" +
               elements + "</VALUE.ARRAY></PROPERTY.ARRAY></INSTANCE>";
    };
    const String instance = "<VALUE>&lt;INSTANCE CLASSNAME='I'/></VALUE>";
    const String cls = "<VALUE>&lt;CLASS NAME='C'/></VALUE>";
    EXPECT_EQ(argument<CIMInstance>(array("<VALUE.NULL/>" + instance)).getPropertyValue("p"),
              CIMValue::array<CIMInstance>({{}, CIMInstance("I")}, {true, false}));
    EXPECT_EQ(argument<CIMInstance>(array(cls)).getPropertyValue("p"),
              CIMValue::array<CIMClass>({CIMClass("C")}));
    EXPECT_EQ(argument<CIMInstance>(array("")).getPropertyValue("p"),
              CIMValue::array<CIMInstance>({}));
    EXPECT_EQ(contentError(array(instance + cls)),
              "invalid parameter: argument \"A\": property \"p\": its embedded objects are not of "
              "one kind");
    EXPECT_EQ(elementError(array("<VALUE.REFERENCE/>")),
              "request-not-valid: the element VALUE.REFERENCE must not be here");
}

TEST(CIMXMLPathsTest, WhatIsNoEmbeddedObjectIsRefused) {
    const String start =
        "invalid parameter: argument \"A\": property \"p\": its embedded object, line 1, column ";
    EXPECT_EQ(contentError(embedding("instance", "text")), start + "1: syntax error");
    EXPECT_EQ(contentError(embedding("instance", "")), start + "1: no element found");
    EXPECT_EQ(contentError(embedding("instance", "<CLASS NAME=\"C\"/>")),
              start + "18: the element CLASS must not be here");
    EXPECT_EQ(contentError(embedding("object", "<CLASS/>")),
              start + "9: the element CLASS lacks the attribute NAME");
    EXPECT_EQ(contentError(embedding("object", "<CLASS NAME=\"C\"/><CLASS NAME=\"D\"/>")),
              start + "18: junk after document element");
    EXPECT_EQ(contentError(embedding("instance", "<INSTANCE CLASSNAME=\"no name\"/>")),
              "invalid parameter: argument \"A\": property \"p\": the name of a class is not an "
              "identifier");
    EXPECT_EQ(elementError(embedding("other", "")),
              "request-not-valid: the attribute EmbeddedObject must be instance or object");
}

TEST(CIMXMLPathsTest, OnlyStringsEmbedObjects) {
    EXPECT_EQ(argument<CIMInstance>("<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"p\" TYPE=\"uint8\""
                                    " EmbeddedObject=\"object\"><VALUE>1</VALUE></PROPERTY>"
                                    "</INSTANCE>")
                  .getPropertyValue("p"),
              CIMValue(uint8_t{1}));
}

TEST(CIMXMLPathsTest, ObjectsMayBeEmbeddedAsDeepAsTheModelAllows) {
    const auto nested = [](unsigned levels) {
        CIMInstance instance("I");
        for (unsigned i = 0; i < levels; ++i) {
            instance = CIMInstance("I").setProperties(
                {CIMProperty("p", CIMDataType::STRING, CIMValue(instance))});
        }
        String out;
        appendInstance(out, instance);
        return out;
    };
    EXPECT_EQ(contentError(nested(8)), "read");
    EXPECT_EQ(contentError(embedding("instance", nested(8))),
              "invalid parameter: argument \"A\": property \"p\": References and embedded objects "
              "may stand in each other 8 deep at most");
    String tooDeep = embedding("instance", nested(8));
    for (int i = 0; i < 3; ++i) {
        tooDeep = embedding("instance", tooDeep);
    }
    EXPECT_TRUE(contentError(tooDeep).ends_with("objects are embedded more than 9 deep"))
        << contentError(tooDeep);
}

}  // namespace
}  // namespace OpenWBEM::CIMXML
