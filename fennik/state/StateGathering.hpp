// SPDX-License-Identifier: Apache-2.0
//
// Gathers the registration state of products into elements of a state file. Changes nothing.
// Internal to this room.
#pragma once

#include <functional>

#include "fennik/state/StateNodes.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// The state of every registered product except the infrastructure's own. Prints its progress.
/// Throws FennikException for a product that could not be restored.
XMLNode createStateDump(const OpenWBEM::CIMOMHandleIFCRef& handle);

/// Calls `visit` for each instance of the namespace, in the order of saving.
void forEachSavedInstance(const String& ns, OpenWBEM::CIMOMHandleIFC& handle,
                          const std::function<void(const OpenWBEM::CIMInstance&)>& visit);

/// The content of a namespace as a MOF text that compiles in one pass: qualifier types, classes
/// with superclasses first, then instances.
String dumpNamespace(const String& ns, OpenWBEM::CIMOMHandleIFC& handle);

}  // namespace KOVNS2
