// SPDX-License-Identifier: Apache-2.0
//
// Finds the process that holds the lock on a repository, for messages.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

/// The holder of the repository in `directory`, as "process 4711 (owcimomd)"; empty when there is
/// none or it cannot be found out. Drops this process's own record locks on the file.
blocxx::String describeLockHolder(const blocxx::String& directory);

}  // namespace KOVNS2
