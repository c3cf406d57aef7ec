// SPDX-License-Identifier: Apache-2.0
//
// Starting the daemon in the background: the process that was started waits until the daemon
// answers or has failed.
#pragma once

#include <functional>

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;

/// Closes every descriptor but the standard streams: an inherited one would keep files, locks and
/// sockets of other programs alive.
void closeInheritedDescriptors();

/// Runs `daemon` in a new process, in a session of its own and without this process's descriptors.
/// `daemon` calls `ready` once it answers. Returns the exit status for this process: 0 when the
/// daemon is ready, otherwise 1, with the reason on standard error.
int runInBackground(const std::function<int(const std::function<void()>& ready)>& daemon);

}  // namespace OwCimomd
