// SPDX-License-Identifier: Apache-2.0
//
// The steps of registering one provider, each change with its undo.
#pragma once

#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderRegistration.hpp"

namespace KOVNS2::ProviderSteps {

/// Writes the privilege files. Returns the path of the provider's own as the installed system sees
/// it; empty when the registration has no privilege text.
String writePrivilegeFiles(const ProviderTarget& target,
                           const OOP1ProviderRegistration& registration);

/// Creates the registration instance, which names the privilege file where there is one, and those
/// that belong to it.
void createRegistrationInstances(const ProviderTarget& target,
                                 const OOP1ProviderRegistration& registration,
                                 const String& privilegeFilePath);

/// Creates the qualifier types, classes and instances of the provider MOF. Returns the registration
/// with what the record has to name: the qualifier types that were not in the namespace before, and
/// the instances by the keys that they have there.
OOP1ProviderRegistration createProviderObjects(const ProviderTarget& target,
                                               const OOP1ProviderRegistration& registration);

/// Writes the record of the provider, which lists what the registration names.
void createRecord(const ProviderTarget& target, const OOP1ProviderRegistration& registration);

}  // namespace KOVNS2::ProviderSteps
