// SPDX-License-Identifier: Apache-2.0
//
// Registering what a state file describes. For the sources of this room only.
#pragma once

#include "fennik/state/StateNodes.hpp"
#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

/// Where a restore writes to.
struct RestoreTarget {
    const OpenWBEM::CIMOMHandleIFCRef& handle;
    const String& prefix;
    CleanupActions_t& undo;
};

/// Registers every product of the document element.
void restoreStateDump(const XMLNode& root, const RestoreTarget& target);

}  // namespace KOVNS2
