// SPDX-License-Identifier: Apache-2.0
//
// The daemon's log: the system's log, or standard error in the foreground, or the file that the
// configuration names. Reporting never fails: a log that cannot be written must not stop the
// daemon.
#pragma once

#include "blocxx/Logger.hpp"
#include "owcimomd/process/Configuration.hpp"

namespace OwCimomd {

class Log {
public:
    /// Sets up the log of the process. When the log file cannot be opened, that is reported, and
    /// the log goes where it would without one.
    Log(const Configuration& configuration, bool foreground);

    /// Opens the log file by its name again: it may have been renamed. When that fails, that is
    /// reported, and the log stays where it is. Without a log file, there is nothing to do.
    void reopen() noexcept;

private:
    void openFile();

    StringArray m_categories;
    String m_file;
};

void report(blocxx::ELogLevel level, const String& message) noexcept;
inline void reportError(const String& message) noexcept {
    report(blocxx::ELogLevel::ERROR, message);
}
inline void reportInfo(const String& message) noexcept {
    report(blocxx::ELogLevel::INFO, message);
}

}  // namespace OwCimomd
