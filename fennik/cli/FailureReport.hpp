// SPDX-License-Identifier: Apache-2.0
//
// How a run that failed tells it: the one place where failures become messages and exit statuses.
#pragma once

#include "blocxx/Logger.hpp"

namespace KOVNS2 {

/// Reports the exception that is being handled and returns the exit status that it stands for.
int reportFailure(const blocxx::Logger& logger) noexcept;

/// Tells of what could not make a run fail any more because its operation was complete.
void reportWhatCameTooLate() noexcept;

}  // namespace KOVNS2
