// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "blocxx/Utf8.hpp"
#include "tests/unit/xml/Documents.hpp"

namespace OpenWBEM {
namespace {

std::string textAfterReading(const std::string& text) {
    return XMLParserDOM::parse(printed(element("a", text))).getText();
}

std::string valueAfterReading(const std::string& value) {
    return XMLParserDOM::parse(printed(XMLNode("a", {{"v", value}}))).getAttributes().at(0).value;
}

/// Every character of XML 1.0, clause 2.2, from `first` to `last`.
std::string allCharacters(uint32_t first, uint32_t last) {
    std::string text;
    for (uint32_t c = first; c <= last; ++c) {
        const bool control = c < 0x20 && c != '\t' && c != '\n' && c != '\r';
        if (!control && c != 0xFFFE && c != 0xFFFF) {
            blocxx::Utf8::append(text, c);
        }
    }
    return text;
}

TEST(XMLPrinting, ElementsHaveALineEach) {
    const XMLNode node = element("a", {element("b", "text"), XMLNode("c"),
                                       element("d", {element("e", "<&>"), element("f", " ")})});
    EXPECT_EQ(printed(node),
              "<a>\n"
              "  <b>text</b>\n"
              "  <c/>\n"
              "  <d>\n"
              "    <e>&lt;&amp;&gt;</e>\n"
              "    <f> </f>\n"
              "  </d>\n"
              "</a>\n");
}

TEST(XMLPrinting, AttributesStandInTheirOrder) {
    EXPECT_EQ(printed(XMLNode("a", {{"z", "1"}, {"b", "<\"&'>\t\n\r "}})),
              "<a z=\"1\" b=\"&lt;&quot;&amp;'&gt;&#9;&#10;&#13; \"/>\n");
}

TEST(XMLPrinting, NothingIsAddedToTextThatStandsBesideElements) {
    XMLNode node = element("a", {XMLNode("b"), element("c", {XMLNode("d")})});
    node.setText(" x\n");
    const std::string text = printed(node);
    EXPECT_EQ(text, "<a> x\n<b/><c>\n    <d/>\n  </c></a>\n");
    const XMLNode again = XMLParserDOM::parse(text);
    EXPECT_EQ(again.getText(), " x\n");
    EXPECT_EQ(printed(again), text);
}

TEST(XMLPrinting, CarriageReturnsAreReferences) {
    EXPECT_EQ(printed(element("a", "\r\n\t\r")), "<a>&#13;\n\t&#13;</a>\n");
}

TEST(XMLPrinting, EveryTextIsReadAsItWas) {
    for (const std::string text :
         {"", " ", "\n", "\r", "\r\n", "\t x \t", "\n\n#pragma\n\n", "]]>", "&#13;", "&amp;",
          "<!--x-->", "<![CDATA[x]]>", "\"'", "  leading", "trailing  "}) {
        EXPECT_EQ(textAfterReading(text), text);
        EXPECT_EQ(valueAfterReading(text), text);
    }
}

TEST(XMLPrinting, EveryCharacterIsReadAsItWas) {
    for (const auto& [first, last] :
         {std::pair<uint32_t, uint32_t>{1, 0xD7FF}, {0xE000, 0xFFFF}, {0x10000, 0x10FFFF}}) {
        const std::string text = allCharacters(first, last);
        EXPECT_TRUE(textAfterReading(text) == text) << first;
        EXPECT_TRUE(valueAfterReading(text) == text) << first;
    }
}

TEST(XMLPrinting, EveryControlCharacterIsRefused) {
    for (int c = 0; c < 0x20; ++c) {
        const bool allowed = c == '\t' || c == '\n' || c == '\r';
        const XMLNode node = element("a", std::string(1, static_cast<char>(c)));
        EXPECT_EQ(printError(node) == "printed", allowed) << c;
    }
}

TEST(XMLPrinting, WhatCannotBeHeldIsNamedWithItsPlace) {
    const XMLNode bad = element("Config", "one\ntwo\x01three");
    const XMLNode root =
        element("State", {XMLNode("Product"), XMLNode("Other"),
                          element("Product", {XMLNode("Name"), bad, element("Config", "\x02")})});
    EXPECT_EQ(printError(root),
              "XML cannot hold the element State/Product[2]/Config[1]: its text has the control "
              "character U+0001 in line 2, byte 4");
    EXPECT_THROW(root.checkPrintable(), XMLNodeException);
    EXPECT_NO_THROW(root.getChildren()[0].checkPrintable());
}

TEST(XMLPrinting, WhatIsNoCharacterIsRefused) {
    const std::string prefix = "XML cannot hold the element a: its text has ";
    for (const auto& [text, what] : std::vector<std::pair<std::string, std::string>>{
             {"\xff", "the byte 0xff, which is not UTF-8, in line 1, byte 1"},
             {"ab\xc3", "the byte 0xc3, which is not UTF-8, in line 1, byte 3"},
             {"\xc0\x80", "the byte 0xc0, which is not UTF-8, in line 1, byte 1"},
             {"\xed\xa0\x80", "the byte 0xed, which is not UTF-8, in line 1, byte 1"},
             {"x\xEF\xBF\xBEy", "a code that is no character in line 1, byte 2"},
             {"\xEF\xBF\xBF", "a code that is no character in line 1, byte 1"},
             {"\xEF\xBF", "the byte 0xef, which is not UTF-8, in line 1, byte 1"},
             {std::string(1, '\0'), "the control character U+0000 in line 1, byte 1"}}) {
        EXPECT_EQ(printError(element("a", text)), prefix + what);
    }
    EXPECT_EQ(printError(XMLNode("a", {{"v", "\x1b"}})),
              "XML cannot hold the element a: its attribute \"v\" has the control character U+001B "
              "in line 1, byte 1");
}

TEST(XMLPrinting, NamesAreChecked) {
    for (const char* name : {"", " ", "a b", "1a", "-a", ".a", "a>", "a\"", "a\n", "a\xff", "a/",
                             "a;", "a@", "a[", "a`", "a{"}) {
        EXPECT_EQ(printError(XMLNode(name)),
                  "XML cannot hold the element ?: its name is none that XML allows");
        EXPECT_EQ(
            printError(XMLNode("a", {{name, ""}})),
            "XML cannot hold the element a: it has an attribute with a name that XML does not "
            "allow");
    }
    for (const char* name : {"a", "z", "A", "Z", "_", ":", "a-09.zAZ:_", "\xc3\xa9"}) {
        EXPECT_EQ(printError(XMLNode(name, {{name, ""}})), "printed");
    }
}

TEST(XMLPrinting, ALongPathIsShortened) {
    XMLNode node = element("bad", "\x01");
    for (int i = 0; i < 20; ++i) {
        node = element("e", {node});
    }
    EXPECT_EQ(
        printError(node),
        "XML cannot hold the element .../e[1]/e[1]/e[1]/e[1]/e[1]/e[1]/e[1]/e[1]/e[1]/bad[1]: "
        "its text has the control character U+0001 in line 1, byte 1");
}

TEST(XMLPrinting, WhatCanBeWrittenComesBack) {
    const std::string large(300000, 'x');
    for (const XMLNode& node :
         {XMLNode("a"), element("a", " \n\t\r "), element("a", "<&>\r\n\"'\r]]>"),
          XMLNode("a", {{"b", "\"\n&\r\t "}, {"c", ""}}),
          element("a", {element("b", ""), element("b", "\xc3\xa9"), element("c", {XMLNode("d")})}),
          element("a", large + "\r\n&" + large),
          element("a", {element("b", large), element("c", "")})}) {
        EXPECT_TRUE(node.survivesRoundTrip()) << printed(node).substr(0, 100);
    }
    XMLNode mixed = element("a", {element("b", "x"), XMLNode("c")});
    mixed.setText(" text before them ");
    EXPECT_TRUE(mixed.survivesRoundTrip());
    EXPECT_THROW(element("a", "\x01").survivesRoundTrip(), XMLNodeException);
}

TEST(XMLPrinting, WhatIsTooDeepForTheParserDoesNotComeBack) {
    XMLNode node("aaa");
    for (size_t depth = 1; depth < 1000000; ++depth) {
        XMLNode outer("aaa");
        outer.addChild(node);
        node = outer;
    }
    EXPECT_FALSE(node.survivesRoundTrip());
}

}  // namespace
}  // namespace OpenWBEM
