// SPDX-License-Identifier: Apache-2.0
//
// Landlock: which files this process may change.
#pragma once

#include "blocxx/String.hpp"

namespace OwCimomd {

/// From now on this process may write, create and remove regular files only below these
/// directories, and make nothing else. Reading is not restricted, nor are descriptors that are
/// open. A directory that cannot be opened is left out. Returns 0, or an errno and changes nothing,
/// ENOSYS or EOPNOTSUPP where the kernel has no Landlock. The process must have renounced new
/// privileges.
int lockFiles(const blocxx::StringArray& writable) noexcept;

}  // namespace OwCimomd
