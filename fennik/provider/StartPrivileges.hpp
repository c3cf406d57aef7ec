// SPDX-License-Identifier: Apache-2.0
//
// The privilege text that lets the provider agent start a provider's process. It is made from what
// a product wrote into its registration, and read by those who start programs for it.
#pragma once

#include "openwbem/model/CIMInstance.hpp"

namespace KOVNS2::StartPrivileges {

using blocxx::String;

/// One statement with the process and the arguments of the registration. It is read back: throws
/// FennikException, naming the property, when it would not say exactly that. `monitored`: the
/// process runs with a privilege file of its own.
String generate(const OpenWBEM::CIMInstance& registrationInstance, bool monitored);

}  // namespace KOVNS2::StartPrivileges
