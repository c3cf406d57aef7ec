// SPDX-License-Identifier: Apache-2.0
//
// Stops the daemon, through its init script, for work on this machine's repository that it cannot
// do itself, and keeps fennik from running meanwhile.
#pragma once

#include <functional>

#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace OwUtilities {

using blocxx::String;

/// Takes fennik's lock below `prefix`; closing the returned file releases it. Throws
/// blocxx::Exception when its file cannot be opened or locked at once.
blocxx::File takeRunLock(const String& prefix);

/// Whether this machine's daemon runs, as its init script says. Only for root. Throws
/// blocxx::Exception when the script cannot be run.
bool isDaemonRunning();

/// Stops the daemon, calls `work` and starts the daemon again, even when `work` throws. Blocks
/// SIGHUP, SIGINT and SIGTERM meanwhile. Only for root. Throws what `work` throws, and
/// blocxx::Exception when the daemon cannot be stopped (`work` is not called then) or cannot
/// be started again.
void withDaemonStopped(const std::function<void()>& work);

}  // namespace OwUtilities
