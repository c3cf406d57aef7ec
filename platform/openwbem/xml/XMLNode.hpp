// SPDX-License-Identifier: Apache-2.0
//
// An element of an XML document: its name, attributes, text and children. XMLParserDOM makes
// elements, and callers make them to print them. An element belongs to one thread.
#pragma once

#include <iosfwd>

#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/String.hpp"
#include "openwbem/xml/XMLException.hpp"

namespace OpenWBEM {

struct XMLAttribute {
    blocxx::String name;
    blocxx::String value;

    friend bool operator==(const XMLAttribute&, const XMLAttribute&) = default;
};

/// A reference to an element, which copies share. The element lives as long as a reference or its
/// parent. A null node refers to none: everything but testing and assigning it throws
/// NULLReferenceException.
class XMLNode {
public:
    using String = blocxx::String;
    template <class T>
    using Array = blocxx::Array<T>;

    /// A null node.
    XMLNode() noexcept;
    XMLNode(const XMLNode&) noexcept;
    XMLNode(XMLNode&&) noexcept;
    XMLNode& operator=(const XMLNode&) noexcept;
    XMLNode& operator=(XMLNode&&) noexcept;
    ~XMLNode();
    /// An element without text and children. The name is checked when it is written.
    explicit XMLNode(String name, Array<XMLAttribute> attributes = {});

    explicit operator bool() const noexcept { return static_cast<bool>(m_element); }
    /// Whether both are the same element.
    friend bool operator==(const XMLNode&, const XMLNode&) = default;

    const String& getName() const;
    const Array<XMLAttribute>& getAttributes() const;
    /// All text directly in the element, joined. White space is as in the document, but an element
    /// with children has no text when there is only white space between them.
    const String& getText() const;
    void setText(String text);
    void appendText(std::string_view text);
    /// Moves the text out of the element, to save copying a large one.
    String takeText();

    /// In document order.
    const Array<XMLNode>& getChildren() const;
    /// Appends a child. Throws XMLNodeException when `child` is null, already has a parent, or
    /// contains this element.
    void addChild(const XMLNode& child);

    /// The first child of that name, or a null node.
    XMLNode findChild(std::string_view name) const;
    /// The first child of that name. Throws XMLNodeException when there is none.
    XMLNode mustFindChild(std::string_view name) const;

    /// Throws XMLNodeException when the element or one in it cannot be written: XML 1.0 (clause
    /// 2.2) cannot hold most control characters, nor bytes that are not UTF-8. The message names
    /// the element by its path from this one, and the place in its text.
    void checkPrintable() const;
    /// Throws XMLNodeException as checkPrintable() does, and when XMLParserDOM would refuse a
    /// document of `sizeBefore` bytes and this element for its size or its number of items
    /// (XMLLimits).
    void checkReadable(size_t sizeBefore) const;
    /// Whether the element reads back as it is. Writes and parses it without holding the text or a
    /// second tree in memory. Throws XMLNodeException as checkPrintable() does.
    bool survivesRoundTrip() const;
    /// Writes the element so that it reads back as it is, line breaks and carriage returns
    /// included. When an element has only children and no text, each child begins a line. Throws
    /// XMLNodeException as checkPrintable() does, before it writes anything. The caller must check
    /// the stream.
    void printNode(std::ostream& out) const;

private:
    friend class XMLTreeBuilder;
    struct Element;
    /// addChild without its checks.
    void append(const XMLNode& child);

    blocxx::IntrusiveReference<Element> m_element;
};

}  // namespace OpenWBEM
