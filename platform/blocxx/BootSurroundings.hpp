// SPDX-License-Identifier: Apache-2.0
//
// Private to ChildExec: what a service has around it when it is started at boot, whoever starts it
// now. Only async-signal-safe calls.
#pragma once

namespace blocxx {

/// Gives this process the limits, the priority and the file mode mask of a service that is started
/// at boot, as far as it may.
void takeBootSurroundings() noexcept;

}  // namespace blocxx
