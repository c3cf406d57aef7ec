// SPDX-License-Identifier: Apache-2.0
//
// Generates the privilege text that lets the provider agent start a provider's process, from the
// product's registration.
#pragma once

#include "openwbem/model/CIMInstance.hpp"

namespace KOVNS2::StartPrivileges {

using blocxx::String;

/// One statement with the process and the arguments of the registration. `monitored`: the process
/// has a privilege file of its own. Throws FennikException that names the property when the
/// statement, parsed again, would mean anything else.
String generate(const OpenWBEM::CIMInstance& registrationInstance, bool monitored);

}  // namespace KOVNS2::StartPrivileges
