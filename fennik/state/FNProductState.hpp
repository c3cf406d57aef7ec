// SPDX-License-Identifier: Apache-2.0
//
// Saves the registration state of all products, except the infrastructure's own, to a file, and
// restores it. Both print the current product to standard output.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

/// Gathers the whole state, then creates or truncates the file and writes it. Throws
/// FennikException; a failure to gather, or to represent the state in XML, leaves the file
/// untouched.
void saveProductStatesToFile(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& fileName);

/// Registers every product of the file. `handle` is that of a working copy. When this throws
/// FennikException, the caller runs `undo` and drops the copy; allowed users files and
/// configuration snippets that were written before the failure stay.
void restoreProductStatesFromFile(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& fileName,
                                  const String& prefix, CleanupActions_t& undo);

}  // namespace KOVNS2
