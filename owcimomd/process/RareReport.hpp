// SPDX-License-Identifier: Apache-2.0
//
// Rate limit for log messages that any peer can cause: a few a minute are logged, with the number
// of those that were suppressed, so that nobody can fill the disk with them.
#pragma once

#include <chrono>

#include "blocxx/Logger.hpp"

namespace OwCimomd {

class RareReport {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::minutes INTERVAL{1};

    /// `count`: messages that are logged in an INTERVAL.
    explicit RareReport(size_t count = 1) noexcept : m_count(count) {}

    /// The text to log; empty when enough were logged in this INTERVAL.
    blocxx::String due(const blocxx::String& text, Clock::time_point now);
    /// Logs `text` when it is due.
    void log(blocxx::ELogLevel level, const blocxx::String& text) noexcept;
    void error(const blocxx::String& text) noexcept { log(blocxx::ELogLevel::ERROR, text); }

private:
    size_t m_count;
    Clock::time_point m_next;
    size_t m_told = 0;
    size_t m_untold = 0;
};

}  // namespace OwCimomd
