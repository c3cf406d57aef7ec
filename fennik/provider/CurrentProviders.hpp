// SPDX-License-Identifier: Apache-2.0
//
// From what the CIMOM and the privilege files hold to registration records.
#pragma once

#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderRegistration.hpp"

namespace KOVNS2::CurrentProviders {

/// The records of the product's providers in namespace "kov", in the order in which the CIMOM
/// delivers them.
Array<OpenWBEM::CIMInstance> records(const ProviderTarget& target);

/// The registration that a record stands for. Throws FennikException for a record of an unknown
/// kind and for one without its lists. When something that it names is gone, the exception of the
/// handle or of the file says how to mend that.
ProviderRegistrationRef registrationOf(const ProviderTarget& target,
                                       const OpenWBEM::CIMInstance& record);

}  // namespace KOVNS2::CurrentProviders
