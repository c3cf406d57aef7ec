// SPDX-License-Identifier: Apache-2.0
//
// Interprets the elements of a state file without writing anything. Restoring uses the results;
// saving calls it to check what was gathered. Internal to this room. Functions throw
// XMLNodeException for a missing child.
#pragma once

#include "fennik/provider/ProviderRegistration.hpp"
#include "fennik/state/StateNodes.hpp"

namespace KOVNS2::StateReading {

/// The trimmed text of the child of that name.
String childText(const XMLNode& node, const char* name);

/// The users of an AllowedUsers element. Throws FennikException for any other element.
StringArray restoreAllowedUsers(const XMLNode& node);

/// A namespace and the users with access to it. Omits rights that registering cannot grant.
struct NamespaceAccess {
    String ns;
    StringArray readWrite;
    StringArray readOnly;
};

/// The content of a Namespace element.
NamespaceAccess namespaceAccess(const XMLNode& node);

/// The MOF of a namespace, ready to compile: without leading white space, and with the faults of
/// earlier versions repaired.
String repairedMof(const String& ns, String saved);

/// The provider of an OOP1ProviderRegistration element. Its classes and qualifier types have only
/// names and its instances only keys: they are in their namespace already. Throws FennikException
/// for any other element, and MOFCompilerException or CIMException for bad content.
OOP1ProviderRegistration providerRegistration(const XMLNode& node,
                                              const OpenWBEM::CIMOMHandleIFCRef& handle);

}  // namespace KOVNS2::StateReading
