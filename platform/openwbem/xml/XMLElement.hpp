// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: the element that an XMLNode refers to.
#pragma once

#include "openwbem/xml/XMLNode.hpp"

namespace OpenWBEM {

struct XMLNode::Element : blocxx::IntrusiveCountableBase {
    Element(String elementName, Array<XMLAttribute> elementAttributes)
        : name(std::move(elementName)), attributes(std::move(elementAttributes)) {}
    /// Destroys the tree without recursion, so that a deep tree does not exhaust the stack.
    ~Element() override;

    String name;
    Array<XMLAttribute> attributes;
    String text;
    Array<XMLNode> children;
    Element* parent = nullptr;

private:
    void releaseChildren(Array<XMLNode>& to);
};

}  // namespace OpenWBEM
