// SPDX-License-Identifier: Apache-2.0
//
// Products: the KOV_Product instance in namespace "kov", and the file that tells the daemon which
// users may connect on the product's behalf.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

using blocxx::StringArray;

/// Whether a change is made permanent at once, or with everything else on a working copy.
enum class Permanence { AT_ONCE, WITH_THE_COPY };

/// Registers a product. When it throws, nothing has changed: what it did is undone here. Names that
/// cannot be used are refused before the first change.
void registerProduct(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                     const StringArray& userNames, const String& prefix,
                     Permanence permanence = Permanence::AT_ONCE);

/// Removes everything that was ever registered for the product. Throws FennikException and
/// CIMException; the caller then runs `undo`, which puts back all but the namespaces and the
/// allowed users file: `handle` is that of a working copy.
void deregisterProduct(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                       const String& prefix, CleanupActions_t& undo);

/// The names of all products, in the order in which the CIMOM delivers them.
StringArray listRegisteredProducts(const OpenWBEM::CIMOMHandleIFCRef& handle);

}  // namespace KOVNS2
