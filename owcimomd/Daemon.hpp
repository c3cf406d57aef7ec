// SPDX-License-Identifier: Apache-2.0
//
// The daemon from its start to its end.
#pragma once

#include "blocxx/String.hpp"
#include "layout/Layout.hpp"
#include "owcimomd/process/Background.hpp"

namespace OwCimomd {

/// Runs the daemon of `tree` with that configuration file until it is told to end. Calls `ready`
/// once it answers, with what it has left out of the configuration. Returns the exit status. Throws
/// blocxx::Exception when it cannot start.
int runDaemon(const Layout::Tree& tree, const blocxx::String& configFile, bool foreground,
              const Ready& ready);

/// Throws CIMException FAILED unless a daemon answers.
void pingDaemon(const Layout::Tree& tree);

}  // namespace OwCimomd
