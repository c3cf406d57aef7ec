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

/// What a daemon calls once it answers, with what its starter is to be warned of.
using Ready = std::function<void(const blocxx::StringArray& warnings)>;

/// Runs `daemon` in a new process, in a session of its own and without this process's descriptors.
/// Returns the exit status for this process: 0 when the daemon is ready, with its warnings on
/// standard error, otherwise 1, with the reason there.
int runInBackground(const std::function<int(const Ready& ready)>& daemon);

}  // namespace OwCimomd
