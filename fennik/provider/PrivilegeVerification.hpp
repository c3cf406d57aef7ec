// SPDX-License-Identifier: Apache-2.0
//
// The check of a privilege text that a product supplied, before anything is written.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

/// Passes for an empty text, and for one that the privilege language knows and that names a user
/// other than root; the files that it includes have to exist below `destDir`. Throws
/// FennikException, which names `path`.
void verifyPrivileges(const blocxx::String& privileges, const blocxx::String& path,
                      const blocxx::String& destDir);

}  // namespace KOVNS2
