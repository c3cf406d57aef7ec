// SPDX-License-Identifier: Apache-2.0
//
// Writes a tree. walk() keeps its own stack, so that only memory limits the depth of a tree.
#include <algorithm>
#include <cstdio>
#include <ostream>
#include <streambuf>

#include "blocxx/Format.hpp"
#include "blocxx/Utf8.hpp"
#include "openwbem/xml/XMLElement.hpp"
#include "openwbem/xml/XMLLimits.hpp"
#include "openwbem/xml/XMLText.hpp"

namespace OpenWBEM {

namespace {

using blocxx::Array;
using blocxx::Format;
using blocxx::String;

// Without a limit, the text of a deep tree would be mostly blanks.
constexpr size_t DEEPEST_INDENTATION = 16;
// How much messages show of the path to an element.
constexpr size_t SHOWN_OF_PATH = 10;
constexpr size_t SHOWN_OF_NAME = 100;

/// An element that has begun, and how many of its children have.
struct Step {
    const XMLNode* node;
    size_t begun;
};
using Path = Array<Step>;

/// "Product[2]": the name of the element and its number among the siblings of that name.
String describeStep(const Path& path, size_t depth) {
    const String& name = path[depth].node->getName();
    String text = XMLText::isName(name) ? name.substr(0, SHOWN_OF_NAME) : String("?");
    if (depth > 0) {
        const Step& parent = path[depth - 1];
        const Array<XMLNode>& siblings = parent.node->getChildren();
        const auto upToThis = siblings.begin() + static_cast<std::ptrdiff_t>(parent.begun);
        const auto number = std::count_if(siblings.begin(), upToThis, [&](const XMLNode& sibling) {
            return sibling.getName() == name;
        });
        text += "[" + std::to_string(number) + "]";
    }
    return text;
}

String describePath(const Path& path) {
    const bool cut = path.size() > SHOWN_OF_PATH;
    String text = cut ? "..." : "";
    for (size_t depth = cut ? path.size() - SHOWN_OF_PATH : 0; depth < path.size(); ++depth) {
        text += (text.empty() ? "" : "/") + describeStep(path, depth);
    }
    return text;
}

String describeCharacter(std::string_view text, size_t at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    char digits[8];
    if (byte < 0x20) {
        std::snprintf(digits, sizeof digits, "%04X", byte);
        return String("the control character U+") + digits;
    }
    if (blocxx::Utf8::findInvalid(text.substr(0, at + 3)) >= at + 3) {
        return "a code that is no character";
    }
    std::snprintf(digits, sizeof digits, "%02x", byte);
    return String("the byte 0x") + digits + ", which is not UTF-8,";
}

[[noreturn]] void refuse(const Path& path, const String& what) {
    BLOCXX_THROW(XMLNodeException,
                 String(Format("XML cannot hold the element %1: %2", describePath(path), what)));
}

void checkText(const Path& path, const String& kind, std::string_view text) {
    const size_t at = XMLText::findUnprintable(text);
    if (at == std::string_view::npos) {
        return;
    }
    const std::string_view before = text.substr(0, at);
    const size_t lineBegin = before.rfind('\n') + 1;
    refuse(path, Format("%1 has %2 in line %3, byte %4", kind, describeCharacter(text, at),
                        1 + std::count(before.begin(), before.end(), '\n'), at - lineBegin + 1));
}

void checkElement(const Path& path) {
    const XMLNode& node = *path.back().node;
    if (!XMLText::isName(node.getName())) {
        refuse(path, "its name is none that XML allows");
    }
    for (const XMLAttribute& attribute : node.getAttributes()) {
        if (!XMLText::isName(attribute.name)) {
            refuse(path, "it has an attribute with a name that XML does not allow");
        }
        checkText(path, "its attribute \"" + attribute.name.substr(0, SHOWN_OF_NAME) + "\"",
                  attribute.value);
    }
    checkText(path, "its text", node.getText());
}

/// Visits `root` and all elements in it in document order: calls `begin(path)` before the children
/// of the last element of the path and `end(path)` after them.
template <class Begin, class End>
void walk(const XMLNode& root, const Begin& begin, const End& end) {
    Path path{{&root, 0}};
    begin(path);
    while (!path.empty()) {
        Step& step = path.back();
        if (step.begun < step.node->getChildren().size()) {
            const XMLNode* const child = &step.node->getChildren()[step.begun++];
            path.push_back({child, 0});
            begin(path);
        } else {
            end(path);
            path.pop_back();
        }
    }
}

/// Must only be called where a line break does not become part of a text.
void breakLine(std::ostream& out, size_t depth) {
    out << '\n' << String(2 * std::min(depth, DEEPEST_INDENTATION), ' ');
}

void printBegin(std::ostream& out, const Path& path) {
    const size_t depth = path.size() - 1;
    if (depth > 0 && XMLText::holdsOnlyElements(*path[depth - 1].node)) {
        breakLine(out, depth);
    }
    const XMLNode& node = *path.back().node;
    out << '<' << node.getName();
    for (const XMLAttribute& attribute : node.getAttributes()) {
        out << ' ' << attribute.name << "=\"";
        XMLText::writeAttributeValue(out, attribute.value);
        out << '"';
    }
    if (node.getChildren().empty() && node.getText().empty()) {
        out << "/>";
        return;
    }
    out << '>';
    if (!XMLText::holdsOnlyElements(node)) {
        XMLText::writeText(out, node.getText());
    }
}

void printEnd(std::ostream& out, const Path& path) {
    const XMLNode& node = *path.back().node;
    if (node.getChildren().empty() && node.getText().empty()) {
        return;
    }
    if (XMLText::holdsOnlyElements(node)) {
        breakLine(out, path.size() - 1);
    }
    out << "</" << node.getName() << '>';
}

void print(const XMLNode& root, std::ostream& out) {
    walk(
        root, [&](const Path& path) { printBegin(out, path); },
        [&](const Path& path) { printEnd(out, path); });
    out << '\n';
}

/// Counts the bytes that are written to it.
class CountingBuffer : public std::streambuf {
public:
    size_t size() const noexcept { return m_size; }

protected:
    int_type overflow(int_type next) override {
        ++m_size;
        return traits_type::not_eof(next);
    }
    std::streamsize xsputn(const char*, std::streamsize size) override {
        m_size += static_cast<size_t>(size);
        return size;
    }

private:
    size_t m_size = 0;
};

size_t printedSize(const XMLNode& root) {
    CountingBuffer buffer;
    std::ostream out(&buffer);
    print(root, out);
    return buffer.size();
}

void checkLimit(size_t count, size_t limit, const char* unit) {
    if (count > limit) {
        BLOCXX_THROW(
            XMLNodeException,
            String(Format("the document would have %1 %2, and at most %3 can be read again", count,
                          unit, limit)));
    }
}

}  // namespace

void XMLNode::checkReadable(size_t sizeBefore) const {
    size_t items = 0;
    walk(
        *this,
        [&](const Path& path) {
            checkElement(path);
            items += 1 + path.back().node->getAttributes().size();
        },
        [](const Path&) {});
    checkLimit(items, XMLLimits::MAX_ITEMS, "elements and attributes");
    checkLimit(sizeBefore + printedSize(*this), XMLLimits::MAX_DOCUMENT_SIZE, "bytes");
}

void XMLNode::checkPrintable() const {
    walk(*this, checkElement, [](const Path&) {});
}

void XMLNode::printNode(std::ostream& out) const {
    checkPrintable();
    print(*this, out);
}

}  // namespace OpenWBEM
