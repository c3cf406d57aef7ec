// SPDX-License-Identifier: Apache-2.0
//
// The daemon from its start to its end.
#pragma once

#include <functional>

#include "owcimomd/process/Layout.hpp"

namespace OwCimomd {

/// Runs the daemon until it is told to end; `ready` is called once it answers. Returns the exit
/// status. Throws DaemonException or CIMException when it cannot start.
int runDaemon(const Layout& layout, bool foreground, const std::function<void()>& ready);

/// Throws CIMException FAILED unless a daemon answers.
void pingDaemon(const Layout& layout);

}  // namespace OwCimomd
