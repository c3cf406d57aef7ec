// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a document: they parse or fail with the parser's own exception. A parsed tree is
// printed and parses to the same tree. The same bytes as a text are read as they were printed, or
// refused before anything is written.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "openwbem/xml/XMLParserDOM.hpp"

namespace {

using OpenWBEM::XMLNode;
using OpenWBEM::XMLParserDOM;

[[noreturn]] void find(const char* what, const std::string& text) {
    std::fprintf(stderr, "%s:\n%s\n", what, text.c_str());
    std::abort();
}

/// Recursive, because fuzzed documents are small.
bool equal(const XMLNode& a, const XMLNode& b) {
    if (a.getName() != b.getName() || a.getText() != b.getText() ||
        a.getAttributes() != b.getAttributes() ||
        a.getChildren().size() != b.getChildren().size()) {
        return false;
    }
    for (size_t i = 0; i < a.getChildren().size(); ++i) {
        if (!equal(a.getChildren()[i], b.getChildren()[i])) {
            return false;
        }
    }
    return true;
}

void checkReprinted(const XMLNode& node) {
    std::ostringstream out;
    node.printNode(out);
    const std::string text = out.str();
    if (!node.survivesRoundTrip()) {
        find("does not come back", text);
    }
    try {
        if (!equal(node, XMLParserDOM::parse(text))) {
            find("not equal after printing", text);
        }
    } catch (const OpenWBEM::XMLParseException& e) {
        find(e.getMessage(), text);
    }
}

void checkDocument(const std::string& input) {
    XMLNode node;
    try {
        node = XMLParserDOM::parse(input);
    } catch (const OpenWBEM::XMLParseException& e) {
        if (std::string(e.getMessage()).rfind("line ", 0) != 0) {
            find("no place in the message", e.getMessage());
        }
        return;
    }
    try {
        checkReprinted(node);
    } catch (const OpenWBEM::XMLNodeException& e) {
        find(e.getMessage(), input);
    }
}

void checkText(const std::string& input) {
    XMLNode node("a", {{"v", input}});
    node.setText(input);
    // A name only if XML allows it.
    const XMLNode named(input.substr(0, input.size() / 2), {{input, "v"}});
    XMLNode both("both");
    both.addChild(named);
    both.addChild(node);
    try {
        both.checkPrintable();
        // Which characters beyond ASCII a name may have shows only when it is read.
        const bool ascii = std::all_of(input.begin(), input.end(), [](char c) { return c >= 0; });
        if (ascii || both.survivesRoundTrip()) {
            checkReprinted(both);
        }
    } catch (const OpenWBEM::XMLNodeException&) {
        // Then the text alone may be printable.
    }
    try {
        node.checkPrintable();
    } catch (const OpenWBEM::XMLNodeException&) {
        return;
    }
    checkReprinted(node);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    checkDocument(input);
    checkText(input);
    return 0;
}
