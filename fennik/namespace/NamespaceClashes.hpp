// SPDX-License-Identifier: Apache-2.0
//
// What would make registering namespaces fail half way. It is found before the first change, as a
// namespace that was created through the daemon is not taken back.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2::NamespaceClashes {

using blocxx::String;
using blocxx::StringArray;

/// Throws CIMException ALREADY_EXISTS for a user other than root who is named twice in both lists
/// together.
void checkUsers(const StringArray& userNames, const StringArray& readOnlyUserNames);

/// Throws NamespaceUtilsException for a name that cannot name a namespace, that is given twice or
/// that a namespace has already; the message tells who reserved it, or how to delete it.
void checkNamespaces(OpenWBEM::CIMOMHandleIFC& handle, const StringArray& namespaces);

/// Throws CIMException ALREADY_EXISTS for an instance that registering would create and that is
/// there already; the message tells how to delete it.
void checkInstances(OpenWBEM::CIMOMHandleIFC& handle, const String& productName,
                    const StringArray& userNames, const StringArray& readOnlyUserNames,
                    const StringArray& namespaces);

}  // namespace KOVNS2::NamespaceClashes
