// SPDX-License-Identifier: Apache-2.0
//
// Parsing and printing in tests.
#pragma once

#include <sstream>

#include "openwbem/xml/XMLParserDOM.hpp"

namespace OpenWBEM {

inline std::string printed(const XMLNode& node) {
    std::ostringstream out;
    node.printNode(out);
    return out.str();
}

/// The message of the failure to parse, or "parsed".
inline std::string parseError(std::string_view document) {
    try {
        XMLParserDOM::parse(std::string(document));
        return "parsed";
    } catch (const XMLParseException& e) {
        return e.getMessage();
    }
}

/// The message of the failure to print, or "printed". A failure after writing is marked.
inline std::string printError(const XMLNode& node) {
    std::ostringstream out;
    try {
        node.printNode(out);
        return "printed";
    } catch (const XMLNodeException& e) {
        return (out.str().empty() ? "" : "after writing: ") + std::string(e.getMessage());
    }
}

inline XMLNode element(const std::string& name, const std::string& text) {
    XMLNode node(name);
    node.setText(text);
    return node;
}

inline XMLNode element(const std::string& name, const std::vector<XMLNode>& children) {
    XMLNode node(name);
    for (const XMLNode& child : children) {
        node.addChild(child);
    }
    return node;
}

}  // namespace OpenWBEM
