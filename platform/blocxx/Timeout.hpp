// SPDX-License-Identifier: Apache-2.0
//
// How long an operation may wait.
#pragma once

#include <chrono>

namespace blocxx {

class Timeout {
public:
    static constexpr Timeout relative(std::chrono::milliseconds time) { return Timeout(time); }

    constexpr std::chrono::milliseconds time() const noexcept { return m_time; }

private:
    constexpr explicit Timeout(std::chrono::milliseconds time) : m_time(time) {}

    std::chrono::milliseconds m_time;
};

}  // namespace blocxx
