// SPDX-License-Identifier: Apache-2.0
//
// What a privileged program may hand to the programs that it starts.
#pragma once

#include <optional>

#include "blocxx/Process.hpp"
#include "blocxx/String.hpp"

namespace blocxx::Secure {

/// The environment for programs run from here: a fixed PATH, SHELL and IFS-free set, plus the
/// caller's TZ when it is set to a plain value.
StringArray minimalEnvironment();

/// The account of that name in the system's user database, with its primary group; none when there
/// is no such account. Throws ProcessException when the database cannot be read.
std::optional<Process::Identity> lookupAccount(const String& name);

}  // namespace blocxx::Secure
