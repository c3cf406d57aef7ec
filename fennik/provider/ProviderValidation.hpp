// SPDX-License-Identifier: Apache-2.0
//
// The rules that a registration instance has to obey.
#pragma once

#include <functional>

#include "openwbem/model/CIMInstance.hpp"

namespace KOVNS2 {

/// Whose registration instance it is, and what the rules depend on.
struct ValidationContext {
    const blocxx::String& productName;
    bool isMonitored;       ///< the provider has a privilege file of its own
    bool programMustExist;  ///< a staged tree has the programs of another machine
    /// Asked for the namespaces of the product when the instance names some.
    std::function<blocxx::StringArray()> registeredNamespaces;
};

/// Throws FennikException for the first rule that the instance breaks.
void validateRegistrationInstance(const OpenWBEM::CIMInstance& instance,
                                  const ValidationContext& context);

}  // namespace KOVNS2
