// SPDX-License-Identifier: Apache-2.0
//
// Requests of 4 MiB that are made to be expensive: each is read, or refused, in a time in
// proportion to its size.
#include <ctime>
#include <functional>

#include "openwbem/cimxml/IntrinsicMethod.hpp"
#include "tests/unit/cimxml/Documents.hpp"

namespace OpenWBEM::CIMXML {
namespace {

constexpr size_t SIZE = size_t{4} << 20U;

String repeated(const std::function<String(size_t)>& piece) {
    String text;
    for (size_t i = 0; text.size() < SIZE; ++i) {
        text += piece(i);
    }
    return text;
}
String repeated(std::string_view piece) {
    String text;
    text.reserve(SIZE + piece.size());
    while (text.size() < SIZE) {
        text += piece;
    }
    return text;
}

/// An element that is closed and begun again before it has too many children.
String split(const String& begin, const String& piece, const String& end) {
    return begin + repeated([&](size_t i) { return i % 16000 == 15999 ? end + begin : piece; }) +
           end;
}

String numbered(const char* before, size_t number, const char* after) {
    return before + std::to_string(number) + after;
}

String create(const String& content) {
    return call("CreateInstance",
                parameter("NewInstance", "<INSTANCE CLASSNAME=\"C\">" + content + "</INSTANCE>"));
}
String createArray(const char* attributes, const char* element) {
    return create(String("<PROPERTY.ARRAY NAME=\"a\" ") + attributes + "><VALUE.ARRAY>" +
                  repeated(element) + "</VALUE.ARRAY></PROPERTY.ARRAY>");
}
String createText(const char* piece) {
    return create("<PROPERTY NAME=\"p\" TYPE=\"string\"><VALUE>" + repeated(piece) +
                  "</VALUE></PROPERTY>");
}
String createClass(const String& content) {
    return call("CreateClass", parameter("NewClass", "<CLASS NAME=\"C\">" + content + "</CLASS>"));
}

/// What comes of the request.
String outcome(const String& document) {
    try {
        const IntrinsicCall call(Request::parse(document));
        return "read";
    } catch (const RequestException& e) {
        return e.cimError();
    } catch (const CIMException& e) {
        return CIMException::description(e.getErrNo());
    }
}

double processorSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void expectQuick(const String& document, const char* expected) {
    const double begin = processorSeconds();
    EXPECT_EQ(outcome(document), expected);
    // Takes less than half a second. Sanitizers and slow machines may take ten times as long; a
    // time that grows with the square of the size is minutes.
    EXPECT_LT(processorSeconds() - begin, 5.0) << document.substr(0, 500);
}

constexpr const char* REFUSED = "invalid parameter";
constexpr const char* NOT_VALID = "request-not-valid";

TEST(CIMXMLHostileTest, ValuesCostNoMoreThanTheirSize) {
    expectQuick(createArray("TYPE=\"string\"", "<VALUE/>"), "read");
    expectQuick(createArray("TYPE=\"string\"", "<VALUE.NULL/>"), "read");
    expectQuick(createArray("TYPE=\"uint8\"", "<VALUE>1</VALUE>"), "read");
    expectQuick(createArray("TYPE=\"string\" EmbeddedObject=\"instance\"",
                            "<VALUE>&lt;INSTANCE CLASSNAME='I'/></VALUE>"),
                "read");
}

TEST(CIMXMLHostileTest, TextsCostNoMoreThanTheirSize) {
    for (const char* piece : {"x", "\r\n", "&lt;", "&#x20;", "<![CDATA[]]>", "<!---->", "<?a?>",
                              "]]", "\xF0\x9F\x98\x80"}) {
        expectQuick(createText(piece), "read");
    }
    expectQuick(create(repeated(" ")), "read");
    expectQuick(create("<PROPERTY NAME=\"" + repeated("x")), "request-not-well-formed");
}

TEST(CIMXMLHostileTest, ListsCostNoMoreThanTheirSize) {
    expectQuick(createClass(split("<METHOD NAME=\"m\">", "<PARAMETER NAME=\"p\" TYPE=\"string\"/>",
                                  "</METHOD>")),
                "read");
    expectQuick(createClass(split("<PROPERTY NAME=\"p\" TYPE=\"string\">",
                                  "<QUALIFIER NAME=\"q\" TYPE=\"string\"/>", "</PROPERTY>")),
                "read");
    expectQuick(createClass(repeated("<METHOD NAME=\"m\"/>")), REFUSED);
    const String keys = repeated([](size_t i) {
        return numbered("<KEYBINDING NAME=\"k", i, "\"><KEYVALUE/></KEYBINDING>");
    });
    expectQuick(call("GetInstance", parameter("InstanceName", "<INSTANCENAME CLASSNAME=\"C\">" +
                                                                  keys + "</INSTANCENAME>")),
                REFUSED);
    expectQuick(
        call("GetClass", parameter("ClassName", "<CLASSNAME NAME=\"C\"/>") +
                             parameter("PropertyList",
                                       "<VALUE.ARRAY>" + repeated("<VALUE/>") + "</VALUE.ARRAY>")),
        REFUSED);
    expectQuick(call("GetClass", repeated([](size_t i) {
                         return numbered("<IPARAMVALUE NAME=\"", i, "\"/>");
                     })),
                REFUSED);
}

TEST(CIMXMLHostileTest, KeysAreComparedInATimeInProportionToTheirNumber) {
    String keys;
    String properties;
    for (size_t i = 0; i < 16384; ++i) {
        keys += numbered("<KEYBINDING NAME=\"k", i, "\"><KEYVALUE/></KEYBINDING>");
        properties +=
            numbered("<PROPERTY NAME=\"k", 16383 - i, "\" TYPE=\"string\"><VALUE/></PROPERTY>");
    }
    expectQuick(
        call("ModifyInstance",
             parameter("ModifiedInstance", "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"C\">" +
                                               keys + "</INSTANCENAME><INSTANCE CLASSNAME=\"C\">" +
                                               properties + "</INSTANCE></VALUE.NAMEDINSTANCE>")),
        "read");
}

TEST(CIMXMLHostileTest, MarkupCostsNoMoreThanItsSize) {
    // Too much memory has no value of CIMError.
    expectQuick(
        create("<PROPERTY " + repeated([](size_t i) { return numbered("a", i, "=\"\" "); }) + "/>"),
        "");
    expectQuick(create(repeated([](size_t i) { return numbered("<a", i, "/>"); })), NOT_VALID);
    expectQuick(create(repeated("<a>")), NOT_VALID);
    expectQuick(message("<SIMPLEREQ>" + repeated("<CORRELATOR NAME=\"c\"><VALUE/></CORRELATOR>") +
                        "</SIMPLEREQ>"),
                NOT_VALID);
    expectQuick(message("<SIMPLEREQ><IMETHODCALL NAME=\"m\"><LOCALNAMESPACEPATH>" +
                        repeated("<NAMESPACE NAME=\"/\"/>") +
                        "</LOCALNAMESPACEPATH></IMETHODCALL></SIMPLEREQ>"),
                NOT_VALID);
}

}  // namespace
}  // namespace OpenWBEM::CIMXML
