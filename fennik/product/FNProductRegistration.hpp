// SPDX-License-Identifier: Apache-2.0
//
// Products: the KOV_Product instance in namespace "kov", and the file that tells the daemon which
// users may connect on the product's behalf.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

using blocxx::String;
using blocxx::StringArray;

/// Registers a product and makes that permanent. When it throws, nothing has changed: what it did
/// is undone here.
void registerProduct(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                     const StringArray& userNames, const String& prefix);

/// The names of all products, in the order in which the CIMOM delivers them.
StringArray listRegisteredProducts(const OpenWBEM::CIMOMHandleIFCRef& handle);

}  // namespace KOVNS2
