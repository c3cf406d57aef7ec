// SPDX-License-Identifier: Apache-2.0
//
// Private to the model: look-up and comparison of lists of named elements.
#pragma once

#include <algorithm>

#include "openwbem/model/CIMFwd.hpp"

namespace OpenWBEM::ModelSupport {

/// The first element of that name (without regard to case), or null.
template <class T>
const T* findNamed(const Array<T>& elements, std::string_view name) noexcept {
    for (const T& element : elements) {
        if (blocxx::equalsIgnoreCase(element.getName(), name)) {
            return &element;
        }
    }
    return nullptr;
}

/// Pointers to the elements in the order of their names. Elements with the same name keep their
/// order.
template <class T>
Array<const T*> sortedByName(const Array<T>& elements) {
    Array<const T*> sorted;
    sorted.reserve(elements.size());
    for (const T& element : elements) {
        sorted.push_back(&element);
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const T* a, const T* b) {
        return blocxx::compareIgnoreCase(a->getName(), b->getName()) < 0;
    });
    return sorted;
}

/// Whether both lists have equal elements in any order. Elements with the same name must be in the
/// same order. `equal` also compares the names.
template <class T, class Equal>
bool equalInAnyOrder(const Array<T>& a, const Array<T>& b, Equal equal) {
    if (a.size() != b.size()) {
        return false;
    }
    // The order is nearly always the same, so the lists are sorted only when a name differs.
    size_t i = 0;
    while (i < a.size() && blocxx::equalsIgnoreCase(a[i].getName(), b[i].getName())) {
        if (!equal(a[i], b[i])) {
            return false;
        }
        ++i;
    }
    if (i == a.size()) {
        return true;
    }
    const auto sortedA = sortedByName(a);
    const auto sortedB = sortedByName(b);
    return std::equal(sortedA.begin(), sortedA.end(), sortedB.begin(),
                      [&](const T* x, const T* y) { return equal(*x, *y); });
}

template <class T>
bool equalInAnyOrder(const Array<T>& a, const Array<T>& b) {
    return equalInAnyOrder(a, b, [](const T& x, const T& y) { return x == y; });
}

}  // namespace OpenWBEM::ModelSupport
