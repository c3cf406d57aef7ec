// SPDX-License-Identifier: Apache-2.0
//
// Reports that anybody can provoke as often as they like: one a minute reaches the log, with the
// number of those that did not, so that nobody fills the disk with them.
#pragma once

#include <chrono>

#include "blocxx/String.hpp"

namespace OwCimomd {

class RareReport {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::minutes INTERVAL{1};

    /// The text for the log, or an empty one when it is not the time for another.
    blocxx::String due(const blocxx::String& text, Clock::time_point now);
    /// Logs it at error level when it is due.
    void error(const blocxx::String& text) noexcept;

private:
    Clock::time_point m_next;
    size_t m_untold = 0;
};

}  // namespace OwCimomd
