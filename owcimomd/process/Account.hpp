// SPDX-License-Identifier: Apache-2.0
//
// The users of the system: the one that the daemon runs as, and those who connect.
#pragma once

#include <sys/types.h>

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;

/// Becomes that account for good: its user and group and no other groups. Throws DaemonException
/// when there is no such account or the change is not complete.
void becomeAccount(const String& name);

/// The name of a user; empty when the system knows none.
String userName(uid_t uid);

}  // namespace OwCimomd
