// SPDX-License-Identifier: Apache-2.0
//
// A tree of texts, which may be hostile, and its two forms for people.
#pragma once

#include <vector>

#include "utilities/owshow/Output.hpp"

namespace OwShow {

struct Node {
    String text;
    std::vector<Node> children;

    Node& add(String childText) { return children.emplace_back(Node{std::move(childText), {}}); }
};

/// One node a line, children below their parent and indented by two blanks more.
void printText(const Node& tree, const Sink& out);

/// A directed graph in the language of graphviz. The texts are in its labels only, quoted.
class DotGraph {
public:
    explicit DotGraph(const Sink& out);
    void add(const Node& tree);
    /// Ends the graph.
    void finish();

private:
    size_t addNode(const Node& node);

    const Sink& m_out;
    size_t m_count = 0;
};

}  // namespace OwShow
