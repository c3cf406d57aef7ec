// SPDX-License-Identifier: Apache-2.0
//
// Private to ChildExec: the limits and priority of a service that is started at boot. Makes only
// async-signal-safe calls.
#pragma once

namespace blocxx {

/// Gives this process the limits, priority and umask of a service that is started at boot. Skips
/// what it is not permitted to set.
void takeBootSurroundings() noexcept;

}  // namespace blocxx
