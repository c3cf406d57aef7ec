// SPDX-License-Identifier: Apache-2.0
//
// Builds trees from what a repository holds. What the caller may not read, or what is missing, is a
// node that says so.
#pragma once

#include <algorithm>

#include "openwbem/model/CIMException.hpp"
#include "utilities/owshow/Tree.hpp"

namespace OwShow {

/// Calls `fill`. When that is refused, or something is not there, adds a node that says so. FAILED
/// is neither and is thrown on: the repository is damaged, or the daemon has gone.
template <class Fill>
void addOrExplain(Node& tree, Fill fill) {
    try {
        fill();
    } catch (const OpenWBEM::CIMException& e) {
        if (e.getErrNo() == OpenWBEM::CIMException::FAILED) {
            throw;
        }
        tree.add(String("not shown: ") + e.getMessage());
    }
}

/// Adds a node with that title and fills it; "none" stands for no children.
template <class Fill>
void addSection(Node& tree, const String& title, Fill fill) {
    Node section{title, {}};
    addOrExplain(section, [&] { fill(section); });
    if (section.children.empty()) {
        section.text += ": none";
    }
    tree.children.push_back(std::move(section));
}

inline void sortChildren(Node& tree) {
    std::ranges::sort(tree.children, {}, &Node::text);
}

}  // namespace OwShow
