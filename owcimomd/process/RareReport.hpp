// SPDX-License-Identifier: Apache-2.0
//
// Rate limit for log messages that any peer can cause: at most one a minute is logged, with the
// number of those that were suppressed, so that nobody can fill the disk with them.
#pragma once

#include <chrono>

#include "blocxx/String.hpp"

namespace OwCimomd {

class RareReport {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::minutes INTERVAL{1};

    /// The text to log; empty when the last one was logged less than INTERVAL ago.
    blocxx::String due(const blocxx::String& text, Clock::time_point now);
    /// Logs `text` at error level when it is due.
    void error(const blocxx::String& text) noexcept;

private:
    Clock::time_point m_next;
    size_t m_untold = 0;
};

}  // namespace OwCimomd
