// SPDX-License-Identifier: Apache-2.0
//
// An enumeration that its owner pulls in portions. Between portions it holds no lock and no
// statement, only its position, so its owner may pause as long as it likes.
#pragma once

#include <memory>
#include <variant>

#include "openwbem/model/ResultHandlerIFC.hpp"

namespace OpenWBEM {

template <class T>
class Enumeration {
public:
    virtual ~Enumeration() = default;
    /// Passes the next portion, which may be empty, to `result`. False after the last one. After an
    /// exception there are no further portions.
    [[nodiscard]] virtual bool next(ResultHandlerIFC<T>& result) = 0;
};

template <class T>
using EnumerationPtr = std::unique_ptr<Enumeration<T>>;

/// The enumeration of any operation.
using AnyEnumeration =
    std::variant<EnumerationPtr<String>, EnumerationPtr<CIMClass>, EnumerationPtr<CIMInstance>,
                 EnumerationPtr<CIMQualifierType>, EnumerationPtr<CIMObjectPath>>;

/// Passes all results to `result`.
template <class T>
void exhaust(const EnumerationPtr<T>& enumeration, ResultHandlerIFC<T>& result) {
    while (enumeration->next(result)) {
    }
}

}  // namespace OpenWBEM
