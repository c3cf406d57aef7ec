// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/unit/xml/Documents.hpp"

namespace OpenWBEM {
namespace {

std::string reprinted(std::string_view document) {
    return printed(XMLParserDOM::parse(std::string(document)));
}

TEST(XMLParsing, ATreeIsBuilt) {
    const XMLNode root = XMLParserDOM::parse("<a x='1' y=\"2\">t<b>u</b>v<c/><b/></a>");
    EXPECT_EQ(root.getName(), "a");
    EXPECT_EQ(root.getAttributes(), (std::vector<XMLAttribute>{{"x", "1"}, {"y", "2"}}));
    EXPECT_EQ(root.getText(), "tv");
    ASSERT_EQ(root.getChildren().size(), 3U);
    EXPECT_EQ(root.getChildren()[0].getName(), "b");
    EXPECT_EQ(root.getChildren()[0].getText(), "u");
    EXPECT_EQ(root.getChildren()[1].getName(), "c");
    EXPECT_EQ(root.getChildren()[2].getName(), "b");
}

TEST(XMLParsing, WhiteSpaceIsKeptInTextsOnly) {
    const XMLNode root = XMLParserDOM::parse("\n<a >\n  <b>\n x\t</b>\r\n\t<c>  </c ></a\n>\n");
    EXPECT_EQ(root.getText(), "");
    EXPECT_EQ(root.getChildren().at(0).getText(), "\n x\t");
    EXPECT_EQ(root.getChildren().at(1).getText(), "  ");
}

TEST(XMLParsing, LineEndsAreAsTheStandardSaysButForALoneCarriageReturn) {
    EXPECT_EQ(XMLParserDOM::parse("<a>1\r\n2\n3&#13;&#10;4\r&#10;5&#13;\n6</a>").getText(),
              "1\n2\n3\r\n4\r\n5\r\n6");
    EXPECT_EQ(XMLParserDOM::parse("<a v='1\r\n2\t3&#10;4\r5'/>").getAttributes().at(0).value,
              "1 2 3\n4 5");
}

TEST(XMLParsing, ACarriageReturnWithoutALineFeedIsKeptInTexts) {
    for (const auto& [content, text] : std::vector<std::pair<std::string, std::string>>{
             {"\r", "\r"},
             {"a\rb", "a\rb"},
             {"\r\r\n\r", "\r\n\r"},
             {"\n\r\n\r\r", "\n\n\r\r"},
             {"\r&#10;&#13;\r", "\r\n\r\r"},
             {"\r&amp;\r<!-- \r -->\r<?p\rq\r?>\r", "\r&\r\r\r"},
             {"<![CDATA[\r]]>\r<![CDATA[x\r\n\r&]]>", "\r\rx\n\r&"},
             {"\xc3\xa9\r\xe2\x82\xac", "\xc3\xa9\r\xe2\x82\xac"},
         }) {
        EXPECT_EQ(
            XMLParserDOM::parse("\r<!DOCTYPE\ra\r[\r]\r>\r<a\rb\r=\r'\r'\r>" + content + "</a\r>\r")
                .getText(),
            text)
            << content;
    }
    EXPECT_EQ(printed(XMLParserDOM::parse("<a>\r<b>\r</b>\r</a>")), "<a>\n  <b>&#13;</b>\n</a>\n")
        << "between elements it is white space";
}

TEST(XMLParsing, ALoneCarriageReturnIsKeptInOtherEncodings) {
    EXPECT_EQ(XMLParserDOM::parse("\xEF\xBB\xBF<a>1\r2\r\n3</a>").getText(), "1\r2\n3");
    EXPECT_EQ(XMLParserDOM::parse("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xe9\r\xe9</a>")
                  .getText(),
              "\xc3\xa9\r\xc3\xa9");
    std::string little("\xFF\xFE");
    std::string big("\xFE\xFF");
    for (const char c : std::string("<a>1\r2\r\n3\n\r\r4</a>")) {
        little += {c, '\0'};
        big += {'\0', c};
    }
    EXPECT_EQ(XMLParserDOM::parse(little).getText(), "1\r2\n3\n\r\r4");
    EXPECT_EQ(XMLParserDOM::parse(big).getText(), "1\r2\n3\n\r\r4");
    // The bytes of this character are those of a carriage return and a line feed.
    EXPECT_EQ(
        XMLParserDOM::parse(std::string("\xFF\xFE<\0a\0>\0\x0d\x0a<\0/\0a\0>\0", 18)).getText(),
        "\xe0\xa8\x8d");
}

TEST(XMLParsing, EntitiesAndSectionsAreText) {
    EXPECT_EQ(XMLParserDOM::parse("<a>&lt;&amp;&gt;&quot;&apos;&#65;&#x20AC;<![CDATA[<&]]]]>]</a>")
                  .getText(),
              "<&>\"'A\xe2\x82\xac<&]]]");
}

TEST(XMLParsing, CommentsAndInstructionsAreLeftOut) {
    EXPECT_EQ(
        reprinted("<?xml version='1.0'?><!-- c --><?p i?><a>x<!-- <b/> -->y<?p?></a><!--c-->"),
        "<a>xy</a>\n");
}

TEST(XMLParsing, ADocumentTypeWithElementsIsReadOver) {
    EXPECT_EQ(reprinted("<?xml version=\"1.0\"?>\n<!DOCTYPE State [\n<!ELEMENT State (A,B?,C*)>\n"
                        "<!ELEMENT A (#PCDATA)>\n<!NOTATION n SYSTEM 'x'>\n]>\n<Other/>"),
              "<Other/>\n");
}

TEST(XMLParsing, OtherEncodingsBecomeUtf8) {
    EXPECT_EQ(XMLParserDOM::parse("\xEF\xBB\xBF<a>\xc3\xa9</a>").getText(), "\xc3\xa9");
    EXPECT_EQ(
        XMLParserDOM::parse("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xe9</a>").getText(),
        "\xc3\xa9");
    EXPECT_EQ(XMLParserDOM::parse(std::string("\xFF\xFE<\0a\0/\0>\0", 10)).getName(), "a");
}

TEST(XMLParsing, WhatIsNotWellFormedIsNamedWithItsPlace) {
    for (const auto& [document, error] : std::vector<std::pair<std::string, std::string>>{
             {"", "line 1, column 1: no element found"},
             {"x", "line 1, column 1: syntax error"},
             {"<a>\n  <b></a>", "line 2, column 8: mismatched tag"},
             {"<a>", "line 1, column 4: no element found"},
             {"<a/><b/>", "line 1, column 5: junk after document element"},
             {"<a x='1' x='2'/>", "line 1, column 10: duplicate attribute"},
             {"<a>&nbsp;</a>", "line 1, column 4: undefined entity"},
             {"<a>&#0;</a>", "line 1, column 4: reference to invalid character number"},
             {"<a>&#1;</a>", "line 1, column 4: reference to invalid character number"},
             {"<a>\x01</a>", "line 1, column 4: not well-formed (invalid token)"},
             {"<a>]]></a>", "line 1, column 6: not well-formed (invalid token)"},
             {"<?xml version='1.0' encoding='EBCDIC'?><a/>", "line 1, column 31: unknown encoding"},
         }) {
        EXPECT_EQ(parseError(document), error) << document;
    }
}

TEST(XMLParsing, CutAtEveryLengthItExplainsItself) {
    const std::string document =
        "<?xml version=\"1.0\"?>\n<!DOCTYPE a [\n<!ELEMENT a (b)>\n]>\n"
        "<a x=\"1\"><b>&amp;<![CDATA[x]]></b><!-- c --></a>";
    for (size_t size = 0; size < document.size(); ++size) {
        EXPECT_EQ(parseError(document.substr(0, size)).substr(0, 5), "line ") << size;
    }
    EXPECT_EQ(parseError(document), "parsed");
}

}  // namespace
}  // namespace OpenWBEM
