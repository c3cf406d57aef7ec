// SPDX-License-Identifier: Apache-2.0
//
// The debug lines of one source unit: a fixed prefix and a message that is only built when debug
// messages are wanted.
#pragma once

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"

namespace KOVNS2 {

class UnitLog {
public:
    explicit UnitLog(const char* prefix) : m_logger("fennik"), m_prefix(prefix) {}

    template <class... Args>
    void debug(std::string_view pattern, const Args&... args) const {
        if (m_logger.isDebugEnabled()) {
            m_logger.debug(m_prefix + blocxx::Format(pattern, args...).toString());
        }
    }

private:
    blocxx::Logger m_logger;
    const char* m_prefix;
};

}  // namespace KOVNS2
