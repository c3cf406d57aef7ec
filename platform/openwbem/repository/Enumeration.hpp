// SPDX-License-Identifier: Apache-2.0
//
// An enumeration that its holder pulls portion by portion. It holds no lock and no statement
// between portions, so it may wait for as long as its holder likes, and it costs little more than
// the place where it stands.
#pragma once

#include <memory>

#include "openwbem/model/ResultHandlerIFC.hpp"

namespace OpenWBEM {

template <class T>
class Enumeration {
public:
    virtual ~Enumeration() = default;
    /// Hands over the next portion, which may be empty. False when it was the last one. After an
    /// exception there are no further portions.
    [[nodiscard]] virtual bool next(ResultHandlerIFC<T>& result) = 0;
};

template <class T>
using EnumerationPtr = std::unique_ptr<Enumeration<T>>;

/// Hands over all of it.
template <class T>
void exhaust(const EnumerationPtr<T>& enumeration, ResultHandlerIFC<T>& result) {
    while (enumeration->next(result)) {
    }
}

}  // namespace OpenWBEM
