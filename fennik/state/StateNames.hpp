// SPDX-License-Identifier: Apache-2.0
//
// Names that a saved state cannot give back: restoring takes white space at both ends of a name for
// that of the file. For the sources of this room only.
#pragma once

#include "fennik/state/StateNodes.hpp"

namespace KOVNS2::StateNames {

/// What keeps a product of that name from being restored, as "its name ..."; empty when nothing
/// does.
String productFault(const String& name);
/// The same for a user, as "its user \"NAME\" ...".
String userFault(const String& name);
/// The same for a namespace.
String namespaceFault(const String& name);

/// Throws FennikException for the first product of a state that has such a name or such users.
/// White space around a name counts when there is no line break in it: with one, it was put there
/// to lay the file out. What is missing in a product is left to those who read it.
void checkSavedNames(const XMLNode& products);

}  // namespace KOVNS2::StateNames
