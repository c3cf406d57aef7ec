// SPDX-License-Identifier: Apache-2.0
//
// The namespaces that a product owns: created with the access rights of its users and the standard
// qualifier types, and marked in namespace "kov" as reserved by the product.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

using blocxx::StringArray;

/// Registers each namespace, all of whose names must begin with the product's. Every change is
/// followed by its undo step on `undo`, which the caller runs when this throws. root is always
/// given read/write access once, and is skipped in both lists. What is named twice or is there
/// already is refused before the first change.
void registerNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                        const StringArray& userNames, const StringArray& readOnlyUserNames,
                        const StringArray& namespaces, const String& prefix,
                        CleanupActions_t& undo);

/// Removes the namespaces with everything that registering made. What was done before a failure
/// stays done.
void deregisterNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                          const StringArray& namespaces);

/// The product's namespaces, in the order in which the CIMOM delivers them.
StringArray listNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName);

/// Appends the name of every user who has access to exactly that namespace.
void loadNamespaceUsers(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& ns,
                        StringArray& userNames);

}  // namespace KOVNS2
