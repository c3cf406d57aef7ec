// SPDX-License-Identifier: Apache-2.0
//
// The elements around a call, and the limits of a document.
#include "openwbem/cimxml/Limits.hpp"
#include "tests/unit/cimxml/Documents.hpp"

namespace OpenWBEM::CIMXML {
namespace {

const String NAMESPACE = "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/></LOCALNAMESPACEPATH>";

/// The refusal of a MESSAGE with that content, without its place.
String messageError(const String& content) {
    const String error = requestError(message(content));
    const size_t place = error.find("line ");
    return place == String::npos
               ? error
               : error.substr(0, place) + error.substr(error.find(": ", place) + 2);
}

TEST(CIMXMLRequestTest, ARequestHasItsMethodNamespaceAndArguments) {
    const Request request = Request::parse(
        call("GetClass",
             parameter("ClassName", "<CLASSNAME NAME=\"C\"/>") +
                 parameter("LocalOnly", "<VALUE>FALSE</VALUE>") +
                 parameter("PropertyList", "<VALUE.ARRAY><VALUE>a</VALUE><VALUE/></VALUE.ARRAY>") +
                 parameter("IncludeQualifiers", "")));
    EXPECT_EQ(request.id, "1001");
    EXPECT_EQ(request.protocolVersion, "1.0");
    EXPECT_EQ(request.method, "GetClass");
    EXPECT_EQ(request.ns, "root/x");
    EXPECT_FALSE(request.isExtrinsic);
    EXPECT_FALSE(request.failure);
    ASSERT_EQ(request.arguments.size(), 4U);
    EXPECT_EQ(std::get<ClassName>(request.arguments.at("classname")).name, "C");
    EXPECT_EQ(std::get<String>(request.arguments.at("localonly")), "FALSE");
    EXPECT_EQ(std::get<StringArray>(request.arguments.at("propertylist")), (StringArray{"a", ""}));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(request.arguments.at("includequalifiers")));
}

TEST(CIMXMLRequestTest, WhiteSpaceBetweenElementsMeansNothing) {
    const Request request = Request::parse(
        "\n<CIM CIMVERSION='2.0' DTDVERSION='2.4'>\n <MESSAGE ID='a b' PROTOCOLVERSION='1.4' >\n"
        "\t<SIMPLEREQ>\r\n <IMETHODCALL NAME='m'>\n <LOCALNAMESPACEPATH>\n <NAMESPACE NAME='n'>\n"
        "</NAMESPACE> </LOCALNAMESPACEPATH>\n<!-- none --> <IPARAMVALUE NAME='a'>\n <VALUE> x "
        "</VALUE> </IPARAMVALUE> <?none?> </IMETHODCALL>\n</SIMPLEREQ> </MESSAGE> </CIM>\n\n");
    EXPECT_EQ(request.id, "a b");
    EXPECT_EQ(request.protocolVersion, "1.4");
    EXPECT_EQ(request.ns, "n");
    EXPECT_EQ(std::get<String>(request.arguments.at("a")), " x ");
}

TEST(CIMXMLRequestTest, TextBetweenElementsIsRefused) {
    EXPECT_EQ(elementError("<INSTANCE CLASSNAME=\"X\">text</INSTANCE>"),
              "request-not-valid: text must not be between elements");
    EXPECT_EQ(elementError("<VALUE>a<VALUE/></VALUE>"),
              "request-not-valid: the element VALUE must not be here");
}

TEST(CIMXMLRequestTest, ANamespaceMayBeInOneName) {
    const Request request = Request::parse(
        message("<SIMPLEREQ><IMETHODCALL NAME=\"m\"><LOCALNAMESPACEPATH>"
                "<NAMESPACE NAME=\"/root/cimv2/\"/></LOCALNAMESPACEPATH></IMETHODCALL>"
                "</SIMPLEREQ>"));
    EXPECT_EQ(request.ns, "root/cimv2");
}

TEST(CIMXMLRequestTest, AnExtrinsicCallIsKnownAsOne) {
    const Request request = Request::parse(
        message("<SIMPLEREQ><METHODCALL NAME=\"Start\"><LOCALINSTANCEPATH>" + NAMESPACE +
                "<INSTANCENAME CLASSNAME=\"X\"/></LOCALINSTANCEPATH>"
                "<PARAMVALUE NAME=\"p\"><VALUE/></PARAMVALUE></METHODCALL></SIMPLEREQ>"));
    EXPECT_TRUE(request.isExtrinsic);
    EXPECT_EQ(request.method, "Start");
    EXPECT_EQ(request.ns, "root");
    EXPECT_EQ(messageError("<SIMPLEREQ><METHODCALL NAME=\"m\"><VALUE/></METHODCALL></SIMPLEREQ>"),
              "request-not-valid: the element VALUE must not be here");
}

TEST(CIMXMLRequestTest, CorrelatorsMayStandBeforeTheCall) {
    const String call = "<IMETHODCALL NAME=\"m\">" + NAMESPACE + "</IMETHODCALL>";
    const String correlator =
        "<CORRELATOR NAME=\"c\" TYPE=\"string\"><VALUE>x</VALUE></CORRELATOR>";
    EXPECT_EQ(
        Request::parse(message("<SIMPLEREQ>" + correlator + correlator + call + "</SIMPLEREQ>"))
            .method,
        "m");
    EXPECT_EQ(messageError("<SIMPLEREQ>" + correlator + "</SIMPLEREQ>"),
              "request-not-valid: the element IMETHODCALL is missing");
}

TEST(CIMXMLRequestTest, WhatIsNotWellFormedIsSaidSo) {
    EXPECT_EQ(requestError(""), "request-not-well-formed: line 1, column 1: no element found");
    EXPECT_EQ(
        requestError("<CIM>"),
        "request-not-valid: line 1, column 6: the element CIM lacks the attribute CIMVERSION");
    EXPECT_EQ(requestError("text"), "request-not-well-formed: line 1, column 1: syntax error");
    EXPECT_EQ(requestError(call("m", "").substr(0, 150)),
              "request-not-well-formed: line 2, column 92: unclosed token");
    EXPECT_EQ(requestError(call("m", "") + "<CIM/>"),
              "request-not-well-formed: line 2, column 242: junk after document element");
    EXPECT_EQ(elementError("<VALUE>\xFF</VALUE>"),
              "request-not-well-formed: not well-formed (invalid token)");
    EXPECT_EQ(elementError("<VALUE>&#1;</VALUE>"),
              "request-not-well-formed: reference to invalid character number");
    EXPECT_EQ(elementError("<VALUE>&amp</VALUE>"),
              "request-not-well-formed: not well-formed (invalid token)");
    EXPECT_EQ(elementError("<VALUE>&other;</VALUE>"), "request-not-well-formed: undefined entity");
}

TEST(CIMXMLRequestTest, OnlyUTF8IsRead) {
    const String body = call("m", parameter("a", "<VALUE>\xE9</VALUE>"));
    EXPECT_TRUE(requestError("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>" + body.substr(39))
                    .ends_with("not well-formed (invalid token)"));
    EXPECT_TRUE(requestError(String("\xFF\xFE<\0C\0", 6)).starts_with("request-not-well-formed: "));
}

TEST(CIMXMLRequestTest, ADocumentTypeIsRefused) {
    const String body = call("m", "").substr(39);
    EXPECT_EQ(requestError("<!DOCTYPE CIM SYSTEM \"file:///etc/passwd\">" + body),
              "request-not-valid: line 1, column 42: a document type is not accepted");
    EXPECT_EQ(requestError("<!DOCTYPE CIM [<!ENTITY a \"b\">]>" + body),
              "request-not-valid: line 1, column 15: a document type is not accepted");
}

TEST(CIMXMLRequestTest, OtherVersionsAreRefused) {
    const auto errorOf = [](const String& cim, const String& dtd, const String& protocol) {
        const String error = requestError("<CIM CIMVERSION=\"" + cim + "\" DTDVERSION=\"" + dtd +
                                          "\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"" + protocol +
                                          "\"><SIMPLEREQ><IMETHODCALL NAME=\"m\">" + NAMESPACE +
                                          "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>");
        return error.substr(0, error.find(':'));
    };
    EXPECT_EQ(errorOf("2.9", "2.4.1", "1.4"), "read");
    EXPECT_EQ(errorOf("3.0", "2.0", "1.0"), "unsupported-cim-version");
    EXPECT_EQ(errorOf("22.0", "2.0", "1.0"), "unsupported-cim-version");
    EXPECT_EQ(errorOf("2.0", "1.0", "1.0"), "unsupported-dtd-version");
    EXPECT_EQ(errorOf("2.0", "2.0", "2.0"), "unsupported-protocol-version");
    EXPECT_EQ(errorOf("2.0", "2.0", ""), "unsupported-protocol-version");
}

TEST(CIMXMLRequestTest, WhatIsNoRequestIsRefused) {
    EXPECT_EQ(requestError("<OTHER/>"),
              "request-not-valid: line 1, column 9: the document element must be CIM");
    EXPECT_EQ(messageError(""), "request-not-valid: the element SIMPLEREQ is missing");
    EXPECT_EQ(messageError("<SIMPLERSP/>"),
              "request-not-valid: the element SIMPLERSP must not be here");
    EXPECT_EQ(messageError("<SIMPLEEXPREQ/>"),
              "request-not-valid: the element SIMPLEEXPREQ must not be here");
    EXPECT_EQ(messageError("<MULTIREQ/>"),
              "multiple-requests-unsupported: several requests in one are not supported");
    EXPECT_EQ(messageError("<SIMPLEREQ/>"),
              "request-not-valid: the element IMETHODCALL is missing");
    EXPECT_EQ(messageError("<SIMPLEREQ><VALUE/></SIMPLEREQ>"),
              "request-not-valid: the element VALUE must not be here");
    EXPECT_EQ(messageError("<SIMPLEREQ><IMETHODCALL/></SIMPLEREQ>"),
              "request-not-valid: the element IMETHODCALL lacks the attribute NAME");
    EXPECT_EQ(messageError("<SIMPLEREQ><IMETHODCALL NAME=\"m\"/></SIMPLEREQ>"),
              "request-not-valid: the element LOCALNAMESPACEPATH is missing");
    const String call = "<IMETHODCALL NAME=\"m\">" + NAMESPACE + "</IMETHODCALL>";
    EXPECT_EQ(messageError("<SIMPLEREQ>" + call + call + "</SIMPLEREQ>"),
              "request-not-valid: the element IMETHODCALL must not be here");
    EXPECT_EQ(messageError("<SIMPLEREQ>" + call + "</SIMPLEREQ><SIMPLEREQ/>"),
              "request-not-valid: the element SIMPLEREQ must not be here");
    EXPECT_EQ(messageError("<SIMPLEREQ><IMETHODCALL NAME=\"m\">" + NAMESPACE +
                           "<PARAMVALUE NAME=\"p\"/></IMETHODCALL></SIMPLEREQ>"),
              "request-not-valid: the element PARAMVALUE must not be here");
}

TEST(CIMXMLRequestTest, WhatIsNoArgumentIsRefused) {
    EXPECT_EQ(elementError("<VALUE/><VALUE/>"),
              "request-not-valid: the element VALUE must not be here");
    EXPECT_EQ(elementError("<VALUE.REFARRAY/>"),
              "request-not-valid: the element VALUE.REFARRAY must not be here");
    EXPECT_EQ(elementError("<VALUE.ARRAY><VALUE.NULL/></VALUE.ARRAY>"),
              "request-not-valid: the element VALUE.NULL must not be here");
    EXPECT_EQ(elementError("<CLASSNAME/>"),
              "request-not-valid: the element CLASSNAME lacks the attribute NAME");
    EXPECT_EQ(elementError("<CLASS NAME=\"C\"><CLASS NAME=\"D\"/></CLASS>"),
              "request-not-valid: the element CLASS must not be here");
    EXPECT_EQ(elementError("<INSTANCE CLASSNAME=\"C\"><METHOD NAME=\"m\"/></INSTANCE>"),
              "request-not-valid: the element METHOD must not be here");
    EXPECT_EQ(elementError("<VALUE.NAMEDINSTANCE/>"),
              "request-not-valid: the element INSTANCENAME is missing");
    const String start = "<CLASS NAME=\"C\">";
    EXPECT_EQ(elementError(start + "<PROPERTY NAME=\"p\"/></CLASS>"),
              "request-not-valid: the element PROPERTY lacks the attribute TYPE");
    EXPECT_EQ(elementError(start + "<PROPERTY NAME=\"p\" TYPE=\"reference\"/></CLASS>"),
              "request-not-valid: the attribute TYPE does not name a type");
    EXPECT_EQ(
        elementError(start + "<PROPERTY NAME=\"p\" TYPE=\"string\" PROPAGATED=\"1\"/></CLASS>"),
        "request-not-valid: the attribute PROPAGATED must be true or false");
    EXPECT_EQ(
        elementError(start + "<PROPERTY NAME=\"p\" TYPE=\"string\"><VALUE/><VALUE/></PROPERTY>"
                             "</CLASS>"),
        "request-not-valid: the element VALUE must not be here");
    EXPECT_EQ(elementError(start + "<PROPERTY NAME=\"p\" TYPE=\"string\"><VALUE.ARRAY/></PROPERTY>"
                                   "</CLASS>"),
              "request-not-valid: the element VALUE.ARRAY must not be here");
    EXPECT_EQ(elementError(start + "<METHOD NAME=\"m\"><VALUE/></METHOD></CLASS>"),
              "request-not-valid: the element VALUE must not be here");
    EXPECT_EQ(
        elementError(start + "<METHOD NAME=\"m\"><PARAMETER NAME=\"p\" TYPE=\"uint8\"><VALUE/>"
                             "</PARAMETER></METHOD></CLASS>"),
        "request-not-valid: the element VALUE must not be here");
    EXPECT_EQ(elementError(start + "<QUALIFIER NAME=\"q\" TYPE=\"string\"><VALUE.REFERENCE/>"
                                   "</QUALIFIER></CLASS>"),
              "request-not-valid: the element VALUE.REFERENCE must not be here");
}

TEST(CIMXMLRequestTest, AnArgumentIsGivenOnce) {
    const Request request =
        Request::parse(call("m", parameter("Name", "<VALUE/>") + parameter("NAME", "<VALUE/>")));
    ASSERT_TRUE(request.failure);
    EXPECT_STREQ(request.failure->getMessage(),
                 "invalid parameter: argument \"NAME\": it is given twice");
}

TEST(CIMXMLRequestTest, AFailureKeepsWhatItsResponseNeeds) {
    const Request request = Request::parse(call(
        "CreateInstance", parameter("NewInstance",
                                    "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"p\" TYPE=\"uint8\">"
                                    "<VALUE>300</VALUE></PROPERTY></INSTANCE>")));
    EXPECT_EQ(request.id, "1001");
    EXPECT_EQ(request.method, "CreateInstance");
    ASSERT_TRUE(request.failure);
    EXPECT_STREQ(
        request.failure->getMessage(),
        "invalid parameter: argument \"NewInstance\": property \"p\": \"300\" is no uint8");
}

TEST(CIMXMLRequestTest, ADocumentIsNotTooLarge) {
    const String large(Limits::MAX_DOCUMENT_SIZE + 1, ' ');
    try {
        Request::parse(large);
        ADD_FAILURE() << "it was read";
    } catch (const RequestException& e) {
        EXPECT_EQ(e.fault(), RequestException::Fault::TOO_LARGE);
        EXPECT_STREQ(e.cimError(), "");
        EXPECT_STREQ(e.getMessage(), "the document is larger than 16777216 bytes");
    }
}

TEST(CIMXMLRequestTest, ElementsAreNotTooDeep) {
    // Four levels of a reference are eight elements; five are around it.
    String path = "<CLASSNAME NAME=\"A\"/>";
    for (int i = 0; i < 7; ++i) {
        path = "<INSTANCENAME CLASSNAME=\"A\"><KEYBINDING NAME=\"k\"><VALUE.REFERENCE>" + path +
               "</VALUE.REFERENCE></KEYBINDING></INSTANCENAME>";
    }
    EXPECT_EQ(contentError(path), "read");
    for (int i = 0; i < 15; ++i) {
        path = "<INSTANCENAME CLASSNAME=\"A\"><KEYBINDING NAME=\"k\"><VALUE.REFERENCE>" + path +
               "</VALUE.REFERENCE></KEYBINDING></INSTANCENAME>";
    }
    EXPECT_EQ(elementError(path), "request-not-valid: elements are nested more than 64 deep");
}

TEST(CIMXMLRequestTest, AttributesAreFewAndShort) {
    String attributes;
    for (unsigned i = 1; i < Limits::MAX_ATTRIBUTES; ++i) {
        attributes += " a" + std::to_string(i) + "=\"\"";
    }
    EXPECT_EQ(elementError("<CLASSNAME NAME=\"\"" + attributes + "/>"), "read");
    EXPECT_EQ(elementError("<CLASSNAME NAME=\"\" b=\"\"" + attributes + "/>"),
              "request-not-valid: an element has more than 32 attributes");
    EXPECT_EQ(elementError("<CLASSNAME NAME=\"" + String(8192, 'x') + "\"/>"), "read");
    EXPECT_EQ(elementError("<CLASSNAME NAME=\"" + String(8193, 'x') + "\"/>"),
              "request-not-valid: an attribute is longer than 8192 bytes");
}

TEST(CIMXMLRequestTest, MarkupTakesLittleMemory) {
    String names;
    for (int i = 0; i < 100000; ++i) {
        names += " a" + std::to_string(i) + "=\"\"";
    }
    try {
        Request::parse(call("m", "<VALUE" + names + "/>"));
        ADD_FAILURE() << "it was read";
    } catch (const RequestException& e) {
        EXPECT_EQ(e.fault(), RequestException::Fault::TOO_LARGE);
        EXPECT_TRUE(
            String(e.getMessage()).ends_with("the markup takes more memory than 4194304 bytes"))
            << e.getMessage();
    }
}

TEST(CIMXMLRequestTest, ListsAreNotTooLong) {
    const auto repeated = [](const String& element, size_t count) {
        String all;
        for (size_t i = 0; i < count; ++i) {
            all += element;
        }
        return all;
    };
    const auto errorOf = [&](const String& before, const String& element, const String& after) {
        EXPECT_EQ(contentError(before + repeated(element, Limits::MAX_LIST) + after), "read");
        return contentError(before + repeated(element, Limits::MAX_LIST + 1) + after);
    };
    const String cls = "<CLASS NAME=\"C\">";
    const String qualifier = "<QUALIFIER NAME=\"q\" TYPE=\"string\"/>";
    const String start = "invalid parameter: argument \"A\": ";
    const String end = "it has more than 16384 elements of a kind";
    EXPECT_EQ(errorOf(cls, qualifier, "</CLASS>"), start + end);
    EXPECT_EQ(errorOf(cls, "<PROPERTY NAME=\"p\" TYPE=\"string\"/>", "</CLASS>"), start + end);
    EXPECT_EQ(errorOf(cls, "<METHOD NAME=\"m\"/>", "</CLASS>"), start + end);
    EXPECT_EQ(errorOf(cls + "<METHOD NAME=\"m\">", "<PARAMETER NAME=\"p\" TYPE=\"string\"/>",
                      "</METHOD></CLASS>"),
              start + "method \"m\": " + end);
    EXPECT_EQ(errorOf(cls + "<METHOD NAME=\"m\">", qualifier, "</METHOD></CLASS>"),
              start + "method \"m\": " + end);
    EXPECT_EQ(errorOf(cls + "<METHOD NAME=\"m\"><PARAMETER NAME=\"p\" TYPE=\"string\">", qualifier,
                      "</PARAMETER></METHOD></CLASS>"),
              start + "method \"m\": parameter \"p\": " + end);
    EXPECT_EQ(
        errorOf(cls + "<PROPERTY NAME=\"p\" TYPE=\"string\">", qualifier, "</PROPERTY></CLASS>"),
        start + "property \"p\": " + end);
    EXPECT_EQ(errorOf("<INSTANCENAME CLASSNAME=\"A\">",
                      "<KEYBINDING NAME=\"k\"><KEYVALUE/></KEYBINDING>", "</INSTANCENAME>"),
              start + end);
}

}  // namespace
}  // namespace OpenWBEM::CIMXML
