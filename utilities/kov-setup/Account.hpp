// SPDX-License-Identifier: Apache-2.0
//
// Creates the unprivileged account of the object manager.
#pragma once

#include "blocxx/Process.hpp"

namespace KovSetup {

/// Returns the account; creates it when it is missing. Only for root. Throws blocxx::Exception.
blocxx::Process::Identity ensureAccount();

}  // namespace KovSetup
