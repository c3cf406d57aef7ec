// SPDX-License-Identifier: Apache-2.0
//
// An operation with its arguments, and what comes of it.
#pragma once

#include <variant>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/CIMQualifierType.hpp"
#include "openwbem/model/Operation.hpp"
#include "openwbem/model/ResultHandlerIFC.hpp"
#include "openwbem/model/WantedParts.hpp"

namespace OpenWBEM {

/// What associators() and references() look for (DSP0200 5.3.2.17 to 5.3.2.20); an empty text is no
/// filter. References use resultClass and role only.
struct AssociationFilter {
    String assocClass;
    String resultClass;
    String role;
    String resultRole;
};

/// Refers to its arguments. Those that the operation does not have keep their defaults.
struct OperationCall {
    Operation operation;
    const String& ns;
    /// As the operation's traits say; a name is that of a class or a qualifier type.
    std::variant<std::monostate, const String*, const CIMClass*, const CIMInstance*,
                 const CIMQualifierType*, const CIMObjectPath*>
        operand{};
    /// What receives the results of an enumeration.
    std::variant<StringResultHandlerIFC*, CIMClassResultHandlerIFC*, CIMInstanceResultHandlerIFC*,
                 CIMQualifierTypeResultHandlerIFC*, CIMObjectPathResultHandlerIFC*>
        results{};
    WantedParts wanted{};
    EDeepFlag deep = E_SHALLOW;
    /// Of operations that follow associations, and of no others.
    const AssociationFilter* filter = nullptr;

    /// The operand, which is a T.
    template <class T>
    const T& as() const {
        return *std::get<const T*>(operand);
    }
};

/// Of an operation that gets an object, the object; of createInstance, the path.
using OperationResult =
    std::variant<std::monostate, CIMClass, CIMInstance, CIMQualifierType, CIMObjectPath>;

}  // namespace OpenWBEM
