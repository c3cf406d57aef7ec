// SPDX-License-Identifier: Apache-2.0
//
// The registration state of products as elements of a state file. Gathering only reads. For the
// sources of this room only.
#pragma once

#include <functional>

#include "fennik/state/StateNodes.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// The whole state: every registered product but the infrastructure itself.
XMLNode createStateDump(const OpenWBEM::CIMOMHandleIFCRef& handle);

/// Calls `visit` for each instance of the namespace, in the order in which they are saved.
void forEachSavedInstance(const String& ns, OpenWBEM::CIMOMHandleIFC& handle,
                          const std::function<void(const OpenWBEM::CIMInstance&)>& visit);

/// Everything that a namespace holds as one MOF text that can be compiled in one pass: qualifier
/// types, classes with superclasses first, instances.
String dumpNamespace(const String& ns, OpenWBEM::CIMOMHandleIFC& handle);

}  // namespace KOVNS2
