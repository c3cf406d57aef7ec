// SPDX-License-Identifier: Apache-2.0
//
// Lookups of a product, shared by the operations.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// The path of the product's KOV_Product instance, whether or not it exists.
OpenWBEM::CIMObjectPath productPath(const OpenWBEM::String& productName);

/// The same. Throws FennikException NOT_REGISTERED when the instance does not exist, and
/// REGISTRATION_UNKNOWN when it cannot be read.
OpenWBEM::CIMObjectPath CheckProductRegistration(const OpenWBEM::CIMOMHandleIFCRef& handle,
                                                 const OpenWBEM::String& productName);

}  // namespace KOVNS2
