// SPDX-License-Identifier: Apache-2.0
//
// Registers the products of a state file. Internal to this room.
#pragma once

#include "fennik/state/StateNodes.hpp"
#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

struct RestoreTarget {
    const OpenWBEM::CIMOMHandleIFCRef& handle;
    const String& prefix;
    CleanupActions_t& undo;
};

/// Registers every product below the document element `root`. Prints its progress. Throws
/// blocxx::Exception; the caller then runs the undo list.
void restoreStateDump(const XMLNode& root, const RestoreTarget& target);

}  // namespace KOVNS2
