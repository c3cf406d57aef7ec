// SPDX-License-Identifier: Apache-2.0
//
// Checks made before namespaces are registered, so that registering does not fail halfway: the
// creation of a namespace through the daemon cannot be undone.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2::NamespaceClashes {

using blocxx::String;
using blocxx::StringArray;

/// Throws CIMException ALREADY_EXISTS for a user, other than root, who occurs twice in the two
/// lists together.
void checkUsers(const StringArray& userNames, const StringArray& readOnlyUserNames);

/// Throws NamespaceUtilsException for an invalid name, a name given twice, and a namespace that
/// exists; for the last, the message says who reserved it or how to delete it.
void checkNamespaces(OpenWBEM::CIMOMHandleIFC& handle, const StringArray& namespaces);

/// Throws CIMException ALREADY_EXISTS when an instance that registering would create exists; the
/// message says how to delete it.
void checkInstances(OpenWBEM::CIMOMHandleIFC& handle, const String& productName,
                    const StringArray& userNames, const StringArray& readOnlyUserNames,
                    const StringArray& namespaces);

}  // namespace KOVNS2::NamespaceClashes
