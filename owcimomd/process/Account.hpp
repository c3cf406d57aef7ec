// SPDX-License-Identifier: Apache-2.0
//
// The system's users: the daemon's own account, and the names of its peers.
#pragma once

#include <sys/types.h>

#include <optional>

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;

/// Changes this process to the account for good: its user and its group, no other groups. Throws
/// blocxx::Exception when there is no such account, it has root's ids, or the change is incomplete.
void becomeAccount(const String& name);

/// The name of a user; empty when the system has none.
String userName(uid_t uid);
/// The id of a user; none when the system does not have the user. May be called in any thread.
std::optional<uid_t> userId(const String& name);

}  // namespace OwCimomd
