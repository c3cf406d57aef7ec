// SPDX-License-Identifier: Apache-2.0
//
// What the elements of a state file mean: all of restoring that writes nothing. Restoring goes on
// with it; saving holds it against what was gathered. For the sources of this room only.
#pragma once

#include "fennik/provider/ProviderRegistration.hpp"
#include "fennik/state/StateNodes.hpp"

namespace KOVNS2::StateReading {

/// The trimmed text of a child that must be there.
String childText(const XMLNode& node, const char* name);

/// The users of an AllowedUsers element.
StringArray allowedUsers(const XMLNode& node);

/// A namespace and the users who have access to it. Rights that registering cannot give are left
/// out.
struct NamespaceAccess {
    String ns;
    StringArray readWrite;
    StringArray readOnly;
};

/// Of a Namespace element.
NamespaceAccess namespaceAccess(const XMLNode& node);

/// The MOF of a namespace as it is compiled: without white space in front, and with what earlier
/// versions saved in a form that cannot be compiled mended.
String repairedMof(const String& ns, String saved);

/// The provider of an OOP1ProviderRegistration element. Its classes, qualifier types and instances
/// have only their names: they are in their namespace already.
OOP1ProviderRegistration providerRegistration(const XMLNode& node,
                                              const OpenWBEM::CIMOMHandleIFCRef& handle);

}  // namespace KOVNS2::StateReading
