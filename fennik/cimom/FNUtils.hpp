// SPDX-License-Identifier: Apache-2.0
//
// What the operations ask of the CIMOM in common.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// The path of the product's KOV_Product instance, without reading anything.
OpenWBEM::CIMObjectPath productPath(const OpenWBEM::String& productName);

/// The path of the product's KOV_Product instance. Throws FennikException when there is none.
OpenWBEM::CIMObjectPath CheckProductRegistration(const OpenWBEM::CIMOMHandleIFCRef& handle,
                                                 const OpenWBEM::String& productName);

}  // namespace KOVNS2
