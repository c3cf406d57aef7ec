// SPDX-License-Identifier: Apache-2.0
//
// What an XMLNode refers to. For the sources of this room only.
#pragma once

#include "openwbem/xml/XMLNode.hpp"

namespace OpenWBEM {

struct XMLNode::Element : blocxx::IntrusiveCountableBase {
    Element(String elementName, Array<XMLAttribute> elementAttributes)
        : name(std::move(elementName)), attributes(std::move(elementAttributes)) {}
    /// Takes the tree apart from the top, so that its depth costs no stack.
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
