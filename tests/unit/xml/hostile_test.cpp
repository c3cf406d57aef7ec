// SPDX-License-Identifier: Apache-2.0
//
// Documents made to hurt: each gives a tree or one error, soon, and no more memory than it is
// large.
#include <gtest/gtest.h>

#include "openwbem/xml/XMLLimits.hpp"
#include "tests/unit/xml/Documents.hpp"

namespace OpenWBEM {
namespace {

constexpr size_t MIB = size_t{1024} * 1024;

std::string repeated(const std::string& piece, size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

TEST(XMLHostile, EntitiesAreRefusedWhereTheyAreDeclared) {
    const std::string error = ": a document that declares entities is not accepted";
    EXPECT_EQ(parseError("<!DOCTYPE a [\n<!ENTITY x \"xxxxxxxxxx\">\n"
                         "<!ENTITY y \"&x;&x;&x;&x;&x;&x;&x;&x;&x;&x;\">\n]>\n<a>&y;</a>"),
              "line 2, column 12" + error);
    EXPECT_EQ(parseError("<!DOCTYPE a [<!ENTITY % x '<!ENTITY y \"z\">'> %x;]><a>&y;</a>"),
              "line 1, column 27" + error);
    EXPECT_EQ(parseError("<!DOCTYPE a [<!ENTITY x SYSTEM 'u' NDATA n>]><a/>"),
              "line 1, column 42" + error);
    EXPECT_EQ(parseError("<!DOCTYPE a [<!ENTITY x '" + std::string(10 * MIB, 'x') + "'>]><a/>")
                  .substr(0, 7),
              "line 1,");
}

// To open a pipe for reading would hang, as nobody writes to it.
TEST(XMLHostile, NothingIsOpened) {
    const std::string pipe = ::testing::TempDir() + "xml_hostile_pipe." + std::to_string(getpid());
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string entities = ": a document that declares entities is not accepted";
    const std::string type =
        ": a document type that is defined outside of the document is not accepted";
    const auto ending = [](const std::string& error) { return error.substr(error.find(": ")); };
    EXPECT_EQ(ending(parseError("<!DOCTYPE a [<!ENTITY x SYSTEM '" + pipe + "'>]><a>&x;</a>")),
              entities);
    EXPECT_EQ(ending(parseError("<!DOCTYPE a [<!ENTITY % x SYSTEM '" + pipe + "'> %x;]><a/>")),
              entities);
    EXPECT_EQ(ending(parseError("<!DOCTYPE a SYSTEM '" + pipe + "'><a>&x;</a>")), type);
    EXPECT_EQ(ending(parseError("<!DOCTYPE a PUBLIC 'p' '" + pipe + "' []><a/>")), type);
    EXPECT_EQ(ending(parseError("<!DOCTYPE a SYSTEM 'http://localhost/a.dtd'><a/>")), type);
    std::filesystem::remove(pipe);
}

TEST(XMLHostile, EntitiesThatAreNotDeclaredAreRefused) {
    EXPECT_EQ(parseError("<!DOCTYPE a [ %x; ]><a>&y;</a>"),
              "line 1, column 24: an entity that is not declared is not accepted");
}

TEST(XMLHostile, AttributeDefaultsAreRefused) {
    EXPECT_EQ(parseError("<!DOCTYPE a [<!ATTLIST a b CDATA 'xxx'>]><a/>"),
              "line 1, column 34: a document that declares attributes is not accepted");
}

TEST(XMLHostile, ALargeAttributeIsRead) {
    const std::string value(10 * MIB, 'v');
    const XMLNode node = XMLParserDOM::parse("<a b=\"" + value + "\"/>");
    EXPECT_TRUE(node.getAttributes().at(0).value == value);
}

TEST(XMLHostile, MarkupTakesBoundedMemory) {
    const std::string error = "the markup takes more memory than 67108864 bytes";
    for (const std::string& document :
         {"<a b=\"" + std::string(80 * MIB, 'v') + "\"/>",
          std::string("<a ") + std::string(80 * MIB, 'n') + "=''/>",
          "<" + std::string(80 * MIB, 'n') + "/>", repeated("<aaa>", 1000000)}) {
        const std::string message = parseError(document);
        EXPECT_EQ(message.substr(message.find(": ") + 2), error);
    }
    std::string attributes = "<a";
    for (int i = 0; i < 1000000; ++i) {
        attributes += " a" + std::to_string(i) + "=''";
    }
    const std::string message = parseError(attributes + "/>");
    EXPECT_EQ(message.substr(message.find(": ") + 2), error);
    EXPECT_EQ(parseError("<a b=''/>"), "parsed") << "what was taken must have been given back";
}

TEST(XMLHostile, DepthCostsNoStack) {
    constexpr size_t DEPTH = 100000;
    const XMLNode root =
        XMLParserDOM::parse(repeated("<a>", DEPTH) + "x" + repeated("</a>", DEPTH));
    std::ostringstream out;
    root.printNode(out);
    const std::string text = out.str();
    EXPECT_EQ(std::count(text.begin(), text.end(), '<'), static_cast<long>(2 * DEPTH));
    EXPECT_EQ(printed(XMLParserDOM::parse(text)), text);
    EXPECT_EQ(parseError(repeated("<a>", DEPTH)), "line 1, column 300001: no element found");
}

TEST(XMLHostile, ManyElementsAreCounted) {
    const std::string error = "the document has more than 4000000 elements and attributes";
    for (const char* piece : {"<b/>", "<b c=''/>", "<b><c/></b>"}) {
        const std::string message = parseError("<a>" + repeated(piece, 4000001) + "</a>");
        EXPECT_EQ(message.substr(message.find(": ") + 2), error);
    }
}

/// The message of checkReadable(), or nothing.
std::string readableError(const XMLNode& node, size_t sizeBefore = 0) {
    try {
        node.checkReadable(sizeBefore);
        return "";
    } catch (const XMLNodeException& e) {
        return e.getMessage();
    }
}

TEST(XMLHostile, WhatHasTooManyElementsToBeReadIsKnownBeforeItIsWritten) {
    XMLNode root("a");
    for (size_t i = 2; i <= XMLLimits::MAX_ITEMS; ++i) {
        root.addChild(XMLNode("b"));
    }
    EXPECT_EQ(readableError(root), "");
    root.addChild(XMLNode("c", {{"n", "v"}}));
    EXPECT_EQ(readableError(root),
              "the document would have 4000002 elements and attributes, and at most 4000000 can be "
              "read again");
}

TEST(XMLHostile, WhatIsTooLargeToBeReadIsKnownBeforeItIsWritten) {
    const XMLNode root = element("a", std::string(20 * MIB, '&'));
    const size_t size = 5 * 20 * MIB + std::string("<a></a>\n").size();
    const size_t room = XMLLimits::MAX_DOCUMENT_SIZE - size;
    EXPECT_EQ(readableError(root, room), "");
    EXPECT_EQ(readableError(root, room + 1),
              "the document would have 1073741825 bytes, and at most 1073741824 can be read again");
}

TEST(XMLHostile, SizeIsThatOfWhatIsPrinted) {
    const XMLNode root =
        element("a", {element("b", "<&>\r\n\t"), XMLNode("c", {{"n", "\"\n&"}}), element("d", "")});
    const size_t room = XMLLimits::MAX_DOCUMENT_SIZE - printed(root).size();
    EXPECT_EQ(readableError(root, room), "");
    EXPECT_NE(readableError(root, room + 1), "");
    EXPECT_EQ(readableError(element("a", "\x01")), printError(element("a", "\x01")));
}

TEST(XMLHostile, ALargeTextIsRead) {
    const std::string line =
        "A line of a namespace that holds much, with <markup> and \"quotes\".\n";
    const std::string text = repeated(line, 100 * MIB / line.size());
    std::stringstream document;
    element("a", text).printNode(document);
    EXPECT_TRUE(XMLParserDOM::parse(document.str()).getText() == text);
}

TEST(XMLHostile, ManyPiecesOfTextAreOneText) {
    EXPECT_EQ(XMLParserDOM::parse("<a>" + repeated("&lt;\n", 4 * MIB) + "</a>").getText().size(),
              8 * MIB);
}

TEST(XMLHostile, BrokenUtf8IsRefused) {
    for (const char* bytes : {"\xff", "\xc3", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80",
                              "\xEF\xBF\xBE", "\xe2\x82"}) {
        EXPECT_EQ(parseError(std::string("<a>") + bytes + "</a>"),
                  "line 1, column 4: not well-formed (invalid token)");
        EXPECT_EQ(parseError(std::string("<a b='") + bytes + "'/>").substr(0, 8), "line 1, ");
    }
    EXPECT_EQ(parseError(std::string("<a>\0</a>", 8)),
              "line 1, column 4: not well-formed (invalid token)");
}

TEST(XMLHostile, ATooLargeDocumentIsRefused) {
    try {
        XMLParserDOM::parse(blocxx::String(XMLLimits::MAX_DOCUMENT_SIZE + 1, ' '));
        FAIL() << "parsed";
    } catch (const XMLParseException& e) {
        EXPECT_STREQ(e.getMessage(),
                     "line 1, column 1: the document is larger than 1073741824 bytes");
    }
}

}  // namespace
}  // namespace OpenWBEM
