// SPDX-License-Identifier: Apache-2.0
//
// Registers, deregisters and lists the namespaces of a product. A registered namespace has the
// access rights of the product's users and the standard qualifier types, and is marked in namespace
// "kov" as reserved by the product.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

using blocxx::StringArray;

/// Registers the namespaces, whose names must begin with the product's. Pushes an undo step after
/// each change; when this throws, the caller runs `undo`. root always gets read/write access and is
/// skipped in both lists. Names given twice and objects that exist already are refused before the
/// first change.
void registerNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                        const StringArray& userNames, const StringArray& readOnlyUserNames,
                        const StringArray& namespaces, const String& prefix,
                        CleanupActions_t& undo);

/// Removes the namespaces and everything that registering created for them. Has no undo steps: what
/// was done before a failure stays done.
void deregisterNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                          const StringArray& namespaces);

/// The product's namespaces, in the CIMOM's order.
StringArray listNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName);

/// Appends the names of the users with access to `ns`, which is compared case-sensitively.
void loadNamespaceUsers(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& ns,
                        StringArray& userNames);

}  // namespace KOVNS2
