// SPDX-License-Identifier: Apache-2.0
//
// Reads the providers of a product back from the CIMOM and the privilege files.
#pragma once

#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderRegistration.hpp"

namespace KOVNS2::CurrentProviders {

/// The records of the product's providers in namespace "kov", in the CIMOM's order.
Array<OpenWBEM::CIMInstance> records(const ProviderTarget& target);

/// The registration that `record` describes. Throws FennikException for a record of an unknown
/// class or without its lists. When an object or a file that it names is missing, the message of
/// the CIMException or FileSystemException says how to repair that.
ProviderRegistrationRef registrationOf(const ProviderTarget& target,
                                       const OpenWBEM::CIMInstance& record);

}  // namespace KOVNS2::CurrentProviders
