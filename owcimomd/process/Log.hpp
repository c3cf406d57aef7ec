// SPDX-License-Identifier: Apache-2.0
//
// The daemon's log: the system's log, or standard error in the foreground, or the file that the
// configuration names. Reporting never fails: a log that cannot be written must not stop the
// daemon.
#pragma once

#include "blocxx/Logger.hpp"
#include "owcimomd/process/Configuration.hpp"

namespace OwCimomd {

/// Sets up the log of the process. When the log file cannot be opened, that is reported, and the
/// log goes where it would without one.
void setUpLog(const Configuration& configuration, bool foreground);

void report(blocxx::ELogLevel level, const String& message) noexcept;
inline void reportError(const String& message) noexcept {
    report(blocxx::ELogLevel::ERROR, message);
}
inline void reportInfo(const String& message) noexcept {
    report(blocxx::ELogLevel::INFO, message);
}

}  // namespace OwCimomd
