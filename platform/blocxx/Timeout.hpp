// SPDX-License-Identifier: Apache-2.0
//
// How long to wait for something: for ever, or for a time.
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
    /// Only of a finite one.
    constexpr std::chrono::milliseconds time() const { return m_time.value(); }

private:
    constexpr Timeout() = default;
    constexpr explicit Timeout(std::chrono::milliseconds time) : m_time(time) {}

    std::optional<std::chrono::milliseconds> m_time;
};

inline constexpr Timeout Timeout::infinite{};

}  // namespace blocxx
