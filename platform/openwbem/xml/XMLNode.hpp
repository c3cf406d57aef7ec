// SPDX-License-Identifier: Apache-2.0
//
// An element of an XML document: its name, its attributes, its text and the elements in it. Made by
// XMLParserDOM, or by hand to be printed. An element belongs to one thread.
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

/// A reference to an element: copies are the same element, which lives as long as one of them or
/// the element that it is in. A null node holds nothing, and all but testing it and assigning to it
/// throws NULLReferenceException.
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
    /// All text that stands directly in the element, joined. White space is as in the document,
    /// save that an element with children has no text when there is only white space between them.
    const String& getText() const;
    void setText(String text);
    void appendText(std::string_view text);
    /// The text; the element has none after it. For one that is large and needed elsewhere.
    String takeText();

    /// In document order.
    const Array<XMLNode>& getChildren() const;
    /// Appends. Throws XMLNodeException when `child` is null, is in an element already, or has this
    /// element in it.
    void addChild(const XMLNode& child);

    /// The first child of that name, or a null node.
    XMLNode findChild(std::string_view name) const;
    /// The first child of that name. Throws XMLNodeException when there is none.
    XMLNode mustFindChild(std::string_view name) const;

    /// Throws XMLNodeException when the element or one in it cannot be written: XML 1.0 (clause
    /// 2.2) has no way to hold most control characters, and no bytes that are not UTF-8. The
    /// message names the element by its path from this one, and the place in its text.
    void checkPrintable() const;
    /// Throws XMLNodeException as checkPrintable() does, and when XMLParserDOM would refuse the
    /// document of this element for its size or its number of items (XMLLimits), which has
    /// `sizeBefore` bytes in front of it.
    void checkReadable(size_t sizeBefore) const;
    /// Whether the element is the same when it has been written and read again, which is tried
    /// without holding it a second time. Throws XMLNodeException as checkPrintable() does.
    bool comesBack() const;
    /// Writes the element as it is read again, line breaks and carriage returns included. Elements
    /// that hold only elements have a line for each of them. Throws XMLNodeException as
    /// checkPrintable() does, before anything is written; whether the stream took it is the
    /// caller's to test.
    void printNode(std::ostream& out) const;

private:
    friend class XMLTreeBuilder;
    struct Element;
    /// addChild without its checks.
    void append(const XMLNode& child);

    blocxx::IntrusiveReference<Element> m_element;
};

}  // namespace OpenWBEM
