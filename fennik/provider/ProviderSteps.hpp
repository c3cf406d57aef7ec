// SPDX-License-Identifier: Apache-2.0
//
// The steps of registering one provider. Each change pushes its undo step.
#pragma once

#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderRegistration.hpp"

namespace KOVNS2::ProviderSteps {

/// Writes the privilege files. Returns the path, without prefix, of the provider's own one; empty
/// when the registration has no privilege text.
String writePrivilegeFiles(const ProviderTarget& target,
                           const OOP1ProviderRegistration& registration);

/// Creates the registration instance and the instances that belong to it. `privilegeFilePath` goes
/// into the registration instance unless it is empty.
void createRegistrationInstances(const ProviderTarget& target,
                                 const OOP1ProviderRegistration& registration,
                                 const String& privilegeFilePath);

/// Creates the qualifier types, classes and instances of the provider MOF. Returns the registration
/// to pass to createRecord(): only the qualifier types that were new to the namespace, and the
/// instances with only the keys that they got.
OOP1ProviderRegistration createProviderObjects(const ProviderTarget& target,
                                               const OOP1ProviderRegistration& registration);

/// Creates the provider's record, which lists the objects of the registration, and associates it
/// with the product.
void createRecord(const ProviderTarget& target, const OOP1ProviderRegistration& registration);

}  // namespace KOVNS2::ProviderSteps
