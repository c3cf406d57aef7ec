// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/RareReport.hpp"

#include <utility>

#include "blocxx/Format.hpp"
#include "owcimomd/process/Log.hpp"

namespace OwCimomd {

using blocxx::String;

String RareReport::due(const String& text, Clock::time_point now) {
    if (now >= m_next) {
        m_next = now + INTERVAL;
        m_told = 0;
    }
    if (m_told == m_count) {
        ++m_untold;
        return {};
    }
    ++m_told;
    const size_t untold = std::exchange(m_untold, 0);
    return untold == 0 ? text
                       : String(blocxx::Format("%1 (and %2 more like it since the last of these)",
                                               text, untold));
}

void RareReport::log(blocxx::ELogLevel level, const String& text) noexcept {
    try {
        if (const String told = due(text, Clock::now()); !told.empty()) {
            report(level, told);
        }
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the log is not worth more
    }
}

}  // namespace OwCimomd
