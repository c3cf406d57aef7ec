// SPDX-License-Identifier: Apache-2.0
//
// Going into the background: the process that was started waits until the daemon answers, or says
// why there is none.
#pragma once

#include <functional>

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;

/// Closes every descriptor but the standard streams: one that was inherited would keep files, locks
/// and sockets of others alive.
void closeInheritedDescriptors();

/// Runs `daemon` in a process of its own, in a session of its own, with nothing of this process's
/// descriptors; it calls `ready` once it answers. Returns the exit status of this process: 0 when
/// the daemon is ready, otherwise 1, with the reason on standard error.
int runInBackground(const std::function<int(const std::function<void()>& ready)>& daemon);

}  // namespace OwCimomd
