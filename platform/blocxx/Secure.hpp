// SPDX-License-Identifier: Apache-2.0
//
// The environment and the account for programs that root starts.
#pragma once

#include <optional>

#include "blocxx/Process.hpp"
#include "blocxx/String.hpp"

namespace blocxx::Secure {

/// Fixed values of PATH and SHELL, and the caller's TZ when it is a plain zone name or rule.
StringArray minimalEnvironment();

/// The account of that name with its primary group, or none when it does not exist. Throws
/// ProcessException when the system's user database cannot be read.
std::optional<Process::Identity> lookupAccount(const String& name);

/// The same account for work that must not be done as root. Throws ProcessException when it does
/// not exist, or has root's user or group id.
Process::Identity unprivilegedAccount(const String& name);

}  // namespace blocxx::Secure
