// SPDX-License-Identifier: Apache-2.0
//
// The rules for registration instances.
#pragma once

#include <functional>

#include "openwbem/model/CIMInstance.hpp"

namespace KOVNS2 {

/// What the rules depend on.
struct ValidationContext {
    const blocxx::String& productName;
    bool isMonitored;       ///< the provider has a privilege file of its own
    bool programMustExist;  ///< false for a staged tree: its programs are for another machine
    /// Returns the namespaces of the product. Not called for a process, which names none.
    std::function<blocxx::StringArray()> registeredNamespaces;
};

/// Throws FennikException for the first rule that the instance breaks.
void validateRegistrationInstance(const OpenWBEM::CIMInstance& instance,
                                  const ValidationContext& context);

}  // namespace KOVNS2
