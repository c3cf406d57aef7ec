// SPDX-License-Identifier: Apache-2.0
//
// How long an operation may wait: without a limit, or for a given time.
#pragma once

#include <chrono>
#include <optional>

namespace blocxx {

class Timeout {
public:
    /// Waits as long as it takes.
    static const Timeout infinite;
    static constexpr Timeout relative(std::chrono::milliseconds time) { return Timeout(time); }

    constexpr bool isInfinite() const noexcept { return !m_time; }
    /// Throws std::bad_optional_access when it is infinite.
    constexpr std::chrono::milliseconds time() const { return m_time.value(); }

private:
    constexpr Timeout() = default;
    constexpr explicit Timeout(std::chrono::milliseconds time) : m_time(time) {}

    std::optional<std::chrono::milliseconds> m_time;
};

inline constexpr Timeout Timeout::infinite{};

}  // namespace blocxx
