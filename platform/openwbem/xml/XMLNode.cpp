// SPDX-License-Identifier: Apache-2.0
#include "openwbem/xml/XMLNode.hpp"

#include <algorithm>
#include <utility>

#include "openwbem/xml/XMLElement.hpp"

namespace OpenWBEM {

using blocxx::String;

XMLNode::Element::~Element() {
    Array<XMLNode> pending;
    releaseChildren(pending);
    while (!pending.empty()) {
        const XMLNode node = std::move(pending.back());
        pending.pop_back();
        if (node.m_element->use_count() == 1) {
            node.m_element->releaseChildren(pending);
        }
    }
}

void XMLNode::Element::releaseChildren(Array<XMLNode>& to) {
    for (XMLNode& child : children) {
        child.m_element->parent = nullptr;
        to.push_back(std::move(child));
    }
    children.clear();
}

XMLNode::XMLNode() noexcept = default;
XMLNode::XMLNode(const XMLNode&) noexcept = default;
XMLNode::XMLNode(XMLNode&&) noexcept = default;
XMLNode& XMLNode::operator=(const XMLNode&) noexcept = default;
XMLNode& XMLNode::operator=(XMLNode&&) noexcept = default;
XMLNode::~XMLNode() = default;

XMLNode::XMLNode(String name, Array<XMLAttribute> attributes)
    : m_element(new Element(std::move(name), std::move(attributes))) {}

const String& XMLNode::getName() const {
    return m_element->name;
}

const blocxx::Array<XMLAttribute>& XMLNode::getAttributes() const {
    return m_element->attributes;
}

const String& XMLNode::getText() const {
    return m_element->text;
}

void XMLNode::setText(String text) {
    m_element->text = std::move(text);
}

void XMLNode::appendText(std::string_view text) {
    m_element->text += text;
}

String XMLNode::takeText() {
    return std::exchange(m_element->text, String());
}

const blocxx::Array<XMLNode>& XMLNode::getChildren() const {
    return m_element->children;
}

void XMLNode::append(const XMLNode& child) {
    m_element->children.push_back(child);
    child.m_element->parent = m_element.get();
}

void XMLNode::addChild(const XMLNode& child) {
    if (!child) {
        BLOCXX_THROW(XMLNodeException, "A null node cannot be put into \"" + getName() + "\"");
    }
    if (child.m_element->parent != nullptr) {
        BLOCXX_THROW(XMLNodeException, "\"" + child.getName() + "\" is in \"" +
                                           child.m_element->parent->name +
                                           "\" and cannot be put into \"" + getName() + "\" too");
    }
    for (const Element* outer = &*m_element; outer != nullptr; outer = outer->parent) {
        if (outer == child.m_element.get()) {
            BLOCXX_THROW(XMLNodeException, "\"" + getName() + "\" is in \"" + child.getName() +
                                               "\", which cannot be put into it");
        }
    }
    append(child);
}

XMLNode XMLNode::findChild(std::string_view name) const {
    const Array<XMLNode>& children = getChildren();
    const auto found = std::ranges::find_if(
        children, [&](const XMLNode& child) { return child.getName() == name; });
    return found == children.end() ? XMLNode() : *found;
}

XMLNode XMLNode::mustFindChild(std::string_view name) const {
    const XMLNode child = findChild(name);
    if (!child) {
        BLOCXX_THROW(XMLNodeException,
                     "\"" + getName() + "\" has no child \"" + String(name) + "\"");
    }
    return child;
}

}  // namespace OpenWBEM
