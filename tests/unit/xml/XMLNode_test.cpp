// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/unit/xml/Documents.hpp"

namespace OpenWBEM {
namespace {

std::string addError(XMLNode& to, const XMLNode& child) {
    try {
        to.addChild(child);
        return "added";
    } catch (const XMLNodeException& e) {
        return e.getMessage();
    }
}

TEST(XMLNode, ANullNodeHoldsNothing) {
    const XMLNode null;
    EXPECT_FALSE(null);
    EXPECT_EQ(null, XMLNode());
    EXPECT_THROW((void)null.getName(), blocxx::NULLReferenceException);
    EXPECT_THROW((void)null.findChild("a"), blocxx::NULLReferenceException);
    EXPECT_THROW(null.checkPrintable(), blocxx::NULLReferenceException);
}

TEST(XMLNode, CopiesAreTheSameElement) {
    XMLNode first("a");
    XMLNode second = first;
    second.setText("text");
    second.addChild(XMLNode("b"));
    EXPECT_EQ(first.getText(), "text");
    EXPECT_EQ(first.getChildren().size(), 1U);
    EXPECT_EQ(first, second);
    EXPECT_FALSE(first == XMLNode("a"));
}

TEST(XMLNode, HoldsWhatItWasMadeWith) {
    const XMLNode node("a", {{"x", "1"}, {"y", "2"}});
    EXPECT_EQ(node.getName(), "a");
    EXPECT_EQ(node.getAttributes(), (std::vector<XMLAttribute>{{"x", "1"}, {"y", "2"}}));
    EXPECT_EQ(node.getText(), "");
    EXPECT_TRUE(node.getChildren().empty());
}

TEST(XMLNode, GivesItsTextAwayOnce) {
    XMLNode node("a");
    node.setText("text");
    EXPECT_EQ(node.takeText(), "text");
    EXPECT_EQ(node.getText(), "");
    EXPECT_EQ(node.takeText(), "");
}

TEST(XMLNode, ChildrenAreFoundByName) {
    const XMLNode first = element("b", "1");
    const XMLNode node = element("a", {XMLNode("c"), first, element("b", "2")});
    EXPECT_EQ(node.findChild("b"), first);
    EXPECT_EQ(node.mustFindChild("b"), first);
    EXPECT_FALSE(node.findChild("B"));
    EXPECT_FALSE(node.findChild("a"));
    try {
        (void)node.mustFindChild("d");
        FAIL() << "found";
    } catch (const XMLNodeException& e) {
        EXPECT_STREQ(e.getMessage(), "\"a\" has no child \"d\"");
        EXPECT_STREQ(e.type(), "XMLNodeException");
    }
}

TEST(XMLNode, ATreeStaysATree) {
    const XMLNode child("child");
    XMLNode inner = element("inner", {child});
    XMLNode outer = element("outer", {inner});
    EXPECT_EQ(addError(outer, child),
              "\"child\" is in \"inner\" and cannot be put into \"outer\" too");
    EXPECT_EQ(addError(inner, outer), "\"inner\" is in \"outer\", which cannot be put into it");
    EXPECT_EQ(addError(outer, outer), "\"outer\" is in \"outer\", which cannot be put into it");
    EXPECT_EQ(addError(outer, XMLNode()), "A null node cannot be put into \"outer\"");
    EXPECT_EQ(printed(outer), "<outer>\n  <inner>\n    <child/>\n  </inner>\n</outer>\n");
}

TEST(XMLNode, AChildOutlivesItsParent) {
    XMLNode child = element("child", {XMLNode("grandchild")});
    { const XMLNode parent = element("parent", {child}); }
    EXPECT_EQ(printed(child), "<child>\n  <grandchild/>\n</child>\n");
    EXPECT_EQ(printed(element("other", {child})),
              "<other>\n  <child>\n    <grandchild/>\n  </child>\n</other>\n");
}

}  // namespace
}  // namespace OpenWBEM
