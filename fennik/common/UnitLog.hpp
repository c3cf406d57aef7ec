// SPDX-License-Identifier: Apache-2.0
//
// Writes messages to the tool's log.
#pragma once

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"

namespace KOVNS2 {

/// Logs at error level. Ignores a failure of the debug log: the message has reached standard error
/// by then, and the caller is in the middle of a failure.
inline void logError(const blocxx::String& message) noexcept {
    try {
        blocxx::Logger("fennik").error(message);
    } catch (const std::exception&) {
        return;
    }
}

/// Writes the debug messages of one source unit: a fixed prefix and a text, which is formatted only
/// when debug messages are enabled. `prefix` and `file` must outlive it.
class UnitLog {
public:
    explicit UnitLog(const char* prefix, const char* component = "fennik", const char* file = "")
        : m_logger(component), m_prefix(prefix), m_file(file) {}

    template <class... Args>
    void debug(std::string_view pattern, const Args&... args) const {
        if (m_logger.isDebugEnabled()) {
            m_logger.debug(m_prefix + blocxx::Format(pattern, args...).toString(), m_file);
        }
    }

private:
    blocxx::Logger m_logger;
    const char* m_prefix;
    const char* m_file;
};

}  // namespace KOVNS2
