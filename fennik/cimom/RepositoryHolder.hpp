// SPDX-License-Identifier: Apache-2.0
//
// Who holds a repository that is not to be had, for messages.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

/// "process 4711 (owcimomd)" for the repository in that directory; empty when nobody holds it, or
/// that cannot be told. Looking drops the locks that this process has on the file.
blocxx::String holderOf(const blocxx::String& directory);

}  // namespace KOVNS2
