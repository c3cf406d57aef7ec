// SPDX-License-Identifier: Apache-2.0
//
// Creates the unprivileged account of the object manager.
#pragma once

#include "blocxx/Process.hpp"

namespace KovSetup {

/// Returns the account; creates it when it is missing, and adds a line to `done` then. Only for
/// root. Throws blocxx::Exception.
blocxx::Process::Identity ensureAccount(blocxx::StringArray& done);

}  // namespace KovSetup
