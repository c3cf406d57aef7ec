// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/Tree.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"

namespace OwShow {

using blocxx::Format;

namespace {

void printNode(const Node& node, const String& indent, const Sink& out) {
    out(indent + blocxx::oneLine(node.text) + "\n");
    for (const Node& child : node.children) {
        printNode(child, indent + "  ", out);
    }
}

/// A quoted label that shows `text` as it is: without escape sequences ("\N" would be the name of
/// the node) and without entities ("&lt;").
String label(std::string_view text) {
    String quoted = "\"";
    for (const char c : blocxx::printable(blocxx::oneLine(text))) {
        if (c == '&') {
            quoted += "&amp;";
            continue;
        }
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + '"';
}

}  // namespace

void printText(const Node& tree, const Sink& out) {
    printNode(tree, "", out);
}

DotGraph::DotGraph(const Sink& out) : m_out(out) {
    m_out("digraph products {\n    rankdir = LR;\n    node [shape = box];\n");
}

void DotGraph::add(const Node& tree) {
    addNode(tree);
}

size_t DotGraph::addNode(const Node& node) {
    const size_t number = ++m_count;
    m_out(Format("    n%1 [label = %2];\n", number, label(node.text)).toString());
    for (const Node& child : node.children) {
        const size_t to = addNode(child);
        m_out(Format("    n%1 -> n%2;\n", number, to).toString());
    }
    return number;
}

void DotGraph::finish() {
    m_out("}\n");
}

}  // namespace OwShow
