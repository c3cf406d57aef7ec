// SPDX-License-Identifier: Apache-2.0
//
// The daemon's log: the system's log, or standard error in the foreground, or the file that the
// configuration names. Reporting never fails: a log that cannot be written must not stop the
// daemon.
#pragma once

#include "blocxx/Logger.hpp"
#include "owcimomd/process/Configuration.hpp"

namespace OwCimomd {

/// Makes the log of the process. A log file that cannot be opened is a complaint, and the log goes
/// where it goes without one.
void setUpLog(const Configuration& configuration, bool foreground);

void report(blocxx::ELogLevel level, const String& message) noexcept;
inline void reportError(const String& message) noexcept {
    report(blocxx::ELogLevel::ERROR, message);
}
inline void reportInfo(const String& message) noexcept {
    report(blocxx::ELogLevel::INFO, message);
}

}  // namespace OwCimomd
