// SPDX-License-Identifier: Apache-2.0
//
// Finds names that a saved state cannot restore: restoring takes white space at either end of a
// name for layout and strips it. Internal to this room.
#pragma once

#include "fennik/state/StateNodes.hpp"

namespace KOVNS2::StateNames {

/// Why a product of that name cannot be restored, as "its name ..."; empty when it can.
String productFault(const String& name);
/// The same for a user, as "its user \"NAME\" ...".
String userFault(const String& name);
/// The same for a namespace.
String namespaceFault(const String& name);

/// Throws FennikException for the first product with such a name or such users. White space around
/// a name with a line break in it is layout; any other is part of the name. Missing elements are
/// ignored: restoring reports them.
void checkSavedNames(const XMLNode& products);

}  // namespace KOVNS2::StateNames
