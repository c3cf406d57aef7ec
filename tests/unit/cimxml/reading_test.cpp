// SPDX-License-Identifier: Apache-2.0
//
// Each element as the object that it is read as, and how its content is refused.
#include "openwbem/model/CIMDateTime.hpp"
#include "tests/unit/cimxml/Documents.hpp"

namespace OpenWBEM::CIMXML {
namespace {

/// The value of a property with that type and element.
CIMValue valueOf(const String& type, const String& element) {
    const auto instance = argument<CIMInstance>("<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"p\" " +
                                                type + ">" + element + "</PROPERTY></INSTANCE>");
    return instance.getPropertyValue("p");
}

CIMValue single(const String& type, const String& text) {
    return valueOf("TYPE=\"" + type + "\"", "<VALUE>" + text + "</VALUE>");
}

/// Why the text is no value of that type.
String refusal(const String& type, const String& text) {
    return contentError("<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"p\" TYPE=\"" + type +
                        "\"><VALUE>" + text + "</VALUE></PROPERTY></INSTANCE>");
}

String refused(const String& shown, const String& type) {
    return "invalid parameter: argument \"A\": property \"p\": \"" + shown + "\" is no " + type;
}

TEST(CIMXMLReadingTest, IntegersAreDecimalOrHexadecimal) {
    EXPECT_EQ(single("uint8", "255"), CIMValue(uint8_t{255}));
    EXPECT_EQ(single("sint8", "-128"), CIMValue(int8_t{-128}));
    EXPECT_EQ(single("uint16", "+65535"), CIMValue(uint16_t{65535}));
    EXPECT_EQ(single("sint16", "-0x8000"), CIMValue(int16_t{-32768}));
    EXPECT_EQ(single("uint32", "0XffFFffFF"), CIMValue(uint32_t{UINT32_MAX}));
    EXPECT_EQ(single("sint32", "007"), CIMValue(int32_t{7}));
    EXPECT_EQ(single("uint64", "18446744073709551615"), CIMValue(uint64_t{UINT64_MAX}));
    EXPECT_EQ(single("uint64", "-0"), CIMValue(uint64_t{0}));
    EXPECT_EQ(single("sint64", "-9223372036854775808"), CIMValue(int64_t{INT64_MIN}));
    EXPECT_EQ(single("sint64", "9223372036854775807"), CIMValue(int64_t{INT64_MAX}));
}

TEST(CIMXMLReadingTest, IntegersOutOfRangeOrFormAreRefused) {
    EXPECT_EQ(refusal("uint8", "256"), refused("256", "uint8"));
    EXPECT_EQ(refusal("uint8", "-1"), refused("-1", "uint8"));
    EXPECT_EQ(refusal("sint8", "128"), refused("128", "sint8"));
    EXPECT_EQ(refusal("sint8", "-129"), refused("-129", "sint8"));
    EXPECT_EQ(refusal("uint64", "18446744073709551616"), refused("18446744073709551616", "uint64"));
    EXPECT_EQ(refusal("sint64", "9223372036854775808"), refused("9223372036854775808", "sint64"));
    EXPECT_EQ(refusal("sint64", "-9223372036854775809"), refused("-9223372036854775809", "sint64"));
    EXPECT_EQ(refusal("sint64", "-18446744073709551615"),
              refused("-18446744073709551615", "sint64"));
    for (const char* text : {"", " ", "1.0", "0x", "--1", "+-1", "1 2", "1x", "0x-1", "x"}) {
        EXPECT_EQ(refusal("uint32", text), refused(text, "uint32"));
    }
}

TEST(CIMXMLReadingTest, RealsAreDecimal) {
    EXPECT_EQ(single("real64", "1.5"), CIMValue(1.5));
    EXPECT_EQ(single("real64", "-2.5E-300"), CIMValue(-2.5E-300));
    EXPECT_EQ(single("real64", "+.5e+1"), CIMValue(5.0));
    EXPECT_EQ(single("real64", "3"), CIMValue(3.0));
    EXPECT_EQ(single("real64", "4.9406564584124654e-324"), CIMValue(4.9406564584124654e-324));
    EXPECT_EQ(single("real32", "3.40282347e+38"), CIMValue(3.40282347e+38F));
    EXPECT_EQ(single("real64", "-0.0"), CIMValue(-0.0));
}

TEST(CIMXMLReadingTest, RealsThatTheModelDoesNotHaveAreRefused) {
    for (const char* text :
         {"INF", "-INF", "NaN", "1e400", "", "e5", "+-1.0", "++1.0", "1.0.0", "0x1p3", "1,5"}) {
        EXPECT_EQ(refusal("real64", text), refused(text, "real64"));
    }
    EXPECT_EQ(refusal("real32", "1e39"), refused("1e39", "real32"));
}

TEST(CIMXMLReadingTest, BooleansMayHaveAnyCase) {
    EXPECT_EQ(single("boolean", "TRUE"), CIMValue(true));
    EXPECT_EQ(single("boolean", "false"), CIMValue(false));
    EXPECT_EQ(refusal("boolean", "1"), refused("1", "boolean"));
    EXPECT_EQ(refusal("boolean", ""), refused("", "boolean"));
}

TEST(CIMXMLReadingTest, ACharacterIsOneOf16Bits) {
    EXPECT_EQ(single("char16", "x"), CIMValue(Char16{u'x'}));
    EXPECT_EQ(single("char16", " "), CIMValue(Char16{u' '}));
    EXPECT_EQ(single("char16", "&#13;"), CIMValue(Char16{u'\r'}));
    EXPECT_EQ(single("char16", "\xE2\x82\xAC"), CIMValue(Char16{0x20AC}));
    EXPECT_EQ(refusal("char16", ""), refused("", "char16"));
    EXPECT_EQ(refusal("char16", "ab"), refused("ab", "char16"));
    EXPECT_EQ(refusal("char16", "\xF0\x9F\x98\x80"), refused("\xF0\x9F\x98\x80", "char16"));
}

TEST(CIMXMLReadingTest, DatetimesAreChecked) {
    EXPECT_EQ(single("datetime", "20260102030405.000000+060"),
              CIMValue(CIMDateTime("20260102030405.000000+060")));
    EXPECT_EQ(
        refusal("datetime", "today"),
        "invalid parameter: argument \"A\": property \"p\": \"today\" is no datetime: it must "
        "have 25 characters");
}

TEST(CIMXMLReadingTest, StringsKeepTheirWhiteSpaceAndOthersNeedNone) {
    EXPECT_EQ(single("string", " a\t\n b&#13; "), CIMValue(" a\t\n b\r "));
    EXPECT_EQ(single("string", "a\r\nb\rc"), CIMValue("a\nb\nc"));
    EXPECT_EQ(single("string", ""), CIMValue(""));
    EXPECT_EQ(single("string", " "), CIMValue(" "));
    EXPECT_EQ(single("string", "<![CDATA[<a>]]>b<!-- no -->c<?no?>d"), CIMValue("<a>bcd"));
    EXPECT_EQ(single("uint8", "\n 5 "), CIMValue(uint8_t{5}));
    EXPECT_EQ(single("real32", " 1.5\t"), CIMValue(1.5F));
    EXPECT_EQ(single("boolean", " TRUE "), CIMValue(true));
}

TEST(CIMXMLReadingTest, LongRefusedTextsAreCutAndHarmless) {
    EXPECT_EQ(refusal("uint8", String(61, '7')), refused(String(60, '7') + "...", "uint8"));
    EXPECT_EQ(refusal("uint8", "\xC2\x9B&#10;"), refused("\\xc2\\x9b\\n", "uint8"));
}

TEST(CIMXMLReadingTest, ArraysMayHaveNulls) {
    const auto instance = argument<CIMInstance>(
        "<INSTANCE CLASSNAME=\"X\">"
        "<PROPERTY.ARRAY NAME=\"a\" TYPE=\"uint8\" ARRAYSIZE=\"2\">\n"
        "<VALUE.ARRAY> <VALUE>1</VALUE> <VALUE.NULL/> </VALUE.ARRAY> </PROPERTY.ARRAY>"
        "<PROPERTY.ARRAY NAME=\"e\" TYPE=\"string\"><VALUE.ARRAY/></PROPERTY.ARRAY>"
        "<PROPERTY.ARRAY NAME=\"n\" TYPE=\"string\"/></INSTANCE>");
    EXPECT_EQ(instance.getPropertyValue("a"), CIMValue::array<uint8_t>({1, 0}, {false, true}));
    EXPECT_EQ(instance.getProperty("a")->getDataType(), CIMDataType::array(CIMDataType::UINT8, 2));
    EXPECT_EQ(instance.getPropertyValue("e"), CIMValue::array<String>({}));
    EXPECT_EQ(instance.getPropertyValue("n"), CIMValue());
    EXPECT_EQ(instance.getProperty("n")->getDataType(), CIMDataType::array(CIMDataType::STRING));
}

TEST(CIMXMLReadingTest, AQualifierHasTheFlavorsOfItsAttributes) {
    const auto cls = argument<CIMClass>(
        "<CLASS NAME=\"C\">"
        "<QUALIFIER NAME=\"D\" TYPE=\"boolean\"><VALUE>true</VALUE></QUALIFIER>"
        "<QUALIFIER NAME=\"F\" TYPE=\"string\" OVERRIDABLE=\"false\" TOSUBCLASS=\"false\""
        " TOINSTANCE=\"true\" TRANSLATABLE=\"true\" PROPAGATED=\"true\">"
        "<VALUE.ARRAY><VALUE>a</VALUE></VALUE.ARRAY></QUALIFIER>"
        "<QUALIFIER NAME=\"N\" TYPE=\"uint8\"/></CLASS>");
    const CIMQualifierArray& qualifiers = cls.getQualifiers();
    ASSERT_EQ(qualifiers.size(), 3U);
    EXPECT_EQ(qualifiers[0], CIMQualifier("D", CIMValue(true)));
    EXPECT_FALSE(qualifiers[0].isPropagated());
    EXPECT_EQ(qualifiers[1],
              CIMQualifier("F", CIMValue::array<String>({"a"}), {false, false, true}));
    EXPECT_TRUE(qualifiers[1].isPropagated());
    EXPECT_EQ(qualifiers[2], CIMQualifier("N", CIMValue()));
}

TEST(CIMXMLReadingTest, AClassHasItsFeatures) {
    const auto cls = argument<CIMClass>(
        "<CLASS NAME=\"C\" SUPERCLASS=\"S\">"
        "<PROPERTY NAME=\"p\" TYPE=\"string\" CLASSORIGIN=\"S\" PROPAGATED=\"true\">"
        "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER>"
        "<VALUE>d</VALUE></PROPERTY>"
        "<PROPERTY.REFERENCE NAME=\"r\" REFERENCECLASS=\"B\"/>"
        "<METHOD NAME=\"m\" TYPE=\"uint32\" CLASSORIGIN=\"S\" PROPAGATED=\"true\">"
        "<QUALIFIER NAME=\"Q\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER>"
        "<PARAMETER NAME=\"a\" TYPE=\"boolean\">"
        "<QUALIFIER NAME=\"In\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER></PARAMETER>"
        "<PARAMETER.ARRAY NAME=\"b\" TYPE=\"uint8\" ARRAYSIZE=\"3\"/>"
        "<PARAMETER.REFERENCE NAME=\"c\" REFERENCECLASS=\"B\"/>"
        "<PARAMETER.REFARRAY NAME=\"d\" REFERENCECLASS=\"B\" ARRAYSIZE=\"4\"/></METHOD>"
        "<METHOD NAME=\"v\"/></CLASS>");
    CIMClass expected("C", "S");
    const CIMQualifierArray in{CIMQualifier("In", CIMValue(true))};
    expected.setProperties({CIMProperty("p", CIMDataType::STRING, CIMValue("d"))
                                .setQualifiers({CIMQualifier("Key", CIMValue(true))}),
                            CIMProperty("r", CIMDataType::reference("B"))});
    expected.setMethods(
        {CIMMethod("m", CIMDataType::UINT32)
             .setQualifiers({CIMQualifier("Q", CIMValue(true))})
             .setParameters({CIMParameter("a", CIMDataType::BOOLEAN).setQualifiers(in),
                             CIMParameter("b", CIMDataType::array(CIMDataType::UINT8, 3)),
                             CIMParameter("c", CIMDataType::reference("B")),
                             CIMParameter("d", CIMDataType::referenceArray("B", 4))}),
         CIMMethod("v")});
    EXPECT_EQ(cls, expected);
    EXPECT_TRUE(cls.getProperty("p")->isPropagated());
    EXPECT_EQ(cls.getProperty("p")->getClassOrigin(), "S");
    EXPECT_FALSE(cls.getProperty("r")->isPropagated());
    EXPECT_TRUE(cls.getMethod("m")->isPropagated());
    EXPECT_EQ(cls.getMethod("m")->getClassOrigin(), "S");
}

TEST(CIMXMLReadingTest, AQualifierTypeHasItsScopes) {
    CIMQualifierType expected("Q");
    expected.setDataType(CIMDataType::array(CIMDataType::STRING, 2))
        .setFlavor({false, false, true})
        .setScopes(CIMScope::CLASS | CIMScope::REFERENCE)
        .setDefaultValue(CIMValue::array<String>({"a"}));
    EXPECT_EQ(
        argument<CIMQualifierType>(
            "<QUALIFIER.DECLARATION NAME=\"Q\" TYPE=\"string\" ISARRAY=\"true\" ARRAYSIZE=\"2\""
            " OVERRIDABLE=\"false\" TOSUBCLASS=\"false\" TRANSLATABLE=\"true\">"
            "<SCOPE CLASS=\"true\" REFERENCE=\"true\" METHOD=\"false\"/>"
            "<VALUE.ARRAY><VALUE>a</VALUE></VALUE.ARRAY></QUALIFIER.DECLARATION>"),
        expected);
}

TEST(CIMXMLReadingTest, AQualifierTypeWithoutScopeIsForAll) {
    CIMQualifierType expected("Q");
    expected.setDataType(CIMDataType::UINT32)
        .setScopes(CIMScope::ANY)
        .setDefaultValue(CIMValue(uint32_t{5}));
    EXPECT_EQ(argument<CIMQualifierType>("<QUALIFIER.DECLARATION NAME=\"Q\" TYPE=\"uint32\">"
                                         "<VALUE>5</VALUE></QUALIFIER.DECLARATION>"),
              expected);
}

TEST(CIMXMLReadingTest, AQualifierTypeThatDoesNotSayIsAnArrayWhenItsDefaultIsOne) {
    EXPECT_EQ(argument<CIMQualifierType>("<QUALIFIER.DECLARATION NAME=\"Q\" TYPE=\"uint32\">"
                                         "<VALUE.ARRAY/></QUALIFIER.DECLARATION>")
                  .getDataType(),
              CIMDataType::array(CIMDataType::UINT32));
    EXPECT_EQ(elementError("<QUALIFIER.DECLARATION NAME=\"Q\" TYPE=\"uint32\" ISARRAY=\"false\">"
                           "<VALUE.ARRAY/></QUALIFIER.DECLARATION>"),
              "request-not-valid: the element VALUE.ARRAY must not be here");
}

TEST(CIMXMLReadingTest, ANamedInstanceHasBoth) {
    const auto named = argument<NamedInstance>(
        "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"X\"/><INSTANCE CLASSNAME=\"X\"/>"
        "</VALUE.NAMEDINSTANCE>");
    EXPECT_EQ(named.path, CIMObjectPath("X"));
    EXPECT_EQ(named.instance, CIMInstance("X"));
}

TEST(CIMXMLReadingTest, NamesAreLeftToTheOperation) {
    EXPECT_EQ(argument<CIMClass>("<CLASS NAME=\"not a name\"/>").getName(), "not a name");
    EXPECT_EQ(argument<ClassName>("<CLASSNAME NAME=\"\"/>").name, "");
}

TEST(CIMXMLReadingTest, AttributesThatTheStandardDoesNotHaveAreIgnored) {
    EXPECT_EQ(argument<ClassName>("<CLASSNAME xml:lang=\"en\" NAME=\"X\" new=\"1\"/>").name, "X");
}

}  // namespace
}  // namespace OpenWBEM::CIMXML
