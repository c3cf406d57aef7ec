// SPDX-License-Identifier: Apache-2.0
//
// The registration state of all products but the infrastructure itself: saved to a file, and built
// again from it. Both tell on standard output which product they are at.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

/// Gathers the whole state and then creates or truncates the file and writes it. Throws
/// FennikException; while the state is gathered, and for what XML cannot hold, the file is not
/// touched.
void saveProductStatesToFile(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& fileName);

/// Registers every product of the file. Throws FennikException; the caller then runs `undo` and
/// drops the working copy that `handle` is for. Allowed users files and configuration snippets that
/// were written before a failure stay.
void restoreProductStatesFromFile(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& fileName,
                                  const String& prefix, CleanupActions_t& undo);

}  // namespace KOVNS2
