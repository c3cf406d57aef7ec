// SPDX-License-Identifier: Apache-2.0
//
// The unprivileged account of the object manager.
#pragma once

#include "blocxx/Process.hpp"

namespace KovSetup {

/// The account, created when it is missing. Only for root. Throws SetupException.
blocxx::Process::Identity ensureAccount();

}  // namespace KovSetup
