// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/Tree.hpp"

#include <gtest/gtest.h>

namespace OwShow {
namespace {

Node sample() {
    Node tree{"sample", {}};
    tree.add("users").add("alice");
    tree.add("namespaces: none");
    return tree;
}

String text(const Node& tree) {
    String printed;
    printText(tree, [&](std::string_view piece) { printed += piece; });
    return printed;
}

String graph(const std::vector<Node>& trees) {
    String printed;
    const Sink sink = [&](std::string_view piece) { printed += piece; };
    DotGraph graph(sink);
    for (const Node& tree : trees) {
        graph.add(tree);
    }
    graph.finish();
    return printed;
}

/// The line of the graph that has the label for this text.
String label(const String& text) {
    const String printed = graph({{text, {}}});
    const String begin = "    n1 [label = ";
    const size_t at = printed.find(begin) + begin.size();
    return printed.substr(at, printed.find("];\n", at) - at);
}

TEST(TextTree, IndentsChildrenBelowTheirParent) {
    EXPECT_EQ(text(sample()), "sample\n  users\n    alice\n  namespaces: none\n");
}

TEST(TextTree, KeepsATextOnItsLine) {
    EXPECT_EQ(text({"a\n  users\n    root", {}}), "a\\n  users\\n    root\n");
}

TEST(DotGraph, JoinsEachChildToItsParent) {
    EXPECT_EQ(graph({sample(), {"other", {}}}),
              "digraph products {\n"
              "    rankdir = LR;\n"
              "    node [shape = box];\n"
              "    n1 [label = \"sample\"];\n"
              "    n2 [label = \"users\"];\n"
              "    n3 [label = \"alice\"];\n"
              "    n2 -> n3;\n"
              "    n1 -> n2;\n"
              "    n4 [label = \"namespaces: none\"];\n"
              "    n1 -> n4;\n"
              "    n5 [label = \"other\"];\n"
              "}\n");
}

TEST(DotGraph, QuotesWhatWouldLeaveTheLabel) {
    EXPECT_EQ(label("a\"]; x -> y; \"b"), "\"a\\\"]; x -> y; \\\"b\"");
    EXPECT_EQ(label("a\\"), "\"a\\\\\"");
    EXPECT_EQ(label("a\\\"b"), "\"a\\\\\\\"b\"");
    EXPECT_EQ(label("a\nb"), "\"a\\\\nb\"");
}

TEST(DotGraph, ShowsEscapesAndEntitiesAsTheyAre) {
    EXPECT_EQ(label("\\N \\G &lt; <b>x</b>"), "\"\\\\N \\\\G &amp;lt; <b>x</b>\"");
}

TEST(DotGraph, WritesOutControlCharactersAndInvalidBytes) {
    EXPECT_EQ(label("a\x1B[2J\x80"), "\"a\\\\x1b[2J\\\\x80\"");
}

}  // namespace
}  // namespace OwShow
