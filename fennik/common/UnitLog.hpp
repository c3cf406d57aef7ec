// SPDX-License-Identifier: Apache-2.0
//
// Writes the debug messages of one source unit: a fixed prefix and a text, which is formatted only
// when debug messages are enabled. `prefix` and `file` must outlive it.
#pragma once

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"

namespace KOVNS2 {

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
