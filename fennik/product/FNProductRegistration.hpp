// SPDX-License-Identifier: Apache-2.0
//
// Registers, deregisters and lists products. A product is a KOV_Product instance in namespace "kov"
// and a file that tells the daemon which users may connect for the product.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

using blocxx::StringArray;

/// Whether a change is committed at once or together with the working copy.
enum class Permanence { AT_ONCE, WITH_THE_COPY };

/// Registers a product. Throws FennikException or CIMException after undoing what it did. Names
/// that cannot be used are refused before the first change.
void registerProduct(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                     const StringArray& userNames, const String& prefix,
                     Permanence permanence = Permanence::AT_ONCE);

/// Removes the product with its providers, namespaces and snippet. `handle` is that of a working
/// copy. When this throws, the caller runs `undo`, which restores everything except the namespaces,
/// which go with the copy, and the allowed users file, which is removed last.
void deregisterProduct(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                       const String& prefix, CleanupActions_t& undo);

/// The whole content of the file that lets these users connect.
String allowedUsersLine(const StringArray& userNames);

/// The names of all products, in the CIMOM's order.
StringArray listRegisteredProducts(const OpenWBEM::CIMOMHandleIFCRef& handle);

}  // namespace KOVNS2
