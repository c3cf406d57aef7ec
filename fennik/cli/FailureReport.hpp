// SPDX-License-Identifier: Apache-2.0
//
// Turns failures into messages and exit statuses; nothing else does.
#pragma once

#include "blocxx/Logger.hpp"

namespace KOVNS2 {

/// Reports the exception that is being handled and returns its exit status.
int reportFailure(const blocxx::Logger& logger) noexcept;

/// After a complete operation: reports a signal, or a failure of the debug log, that came too late
/// to make the run fail.
void reportLateFailure() noexcept;

}  // namespace KOVNS2
