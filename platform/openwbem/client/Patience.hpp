// SPDX-License-Identifier: Apache-2.0
//
// How long a client waits for its daemon, which may be hostile. Each wait may last as long as the
// caller allows. After a signal, and after a wait in vain, a wait lasts 10 seconds at most, and
// each wait in vain halves that. So a run that has many steps to undo ends soon, though each of
// them asks the daemon again.
#pragma once

#include <algorithm>
#include <chrono>

#include "blocxx/Interruption.hpp"
#include "blocxx/Timeout.hpp"

namespace OpenWBEM {

class Patience {
public:
    using Clock = std::chrono::steady_clock;

    /// For the waits that begin from now on.
    void setLimit(const blocxx::Timeout& limit) noexcept { m_limit = limit.time(); }
    void beginWait() noexcept {
        m_isHurried = m_wasInVain || blocxx::Interruption::hasSignal();
        m_end = Clock::now() + (m_isHurried ? std::min(m_limit, m_hurried) : m_limit);
    }
    /// How long the wait may go on; zero when it is over. A signal shortens it.
    std::chrono::milliseconds left() noexcept {
        const auto now = Clock::now();
        if (!m_isHurried && blocxx::Interruption::hasSignal()) {
            m_isHurried = true;
            m_end = std::min(m_end, now + m_hurried);
        }
        return std::max(std::chrono::ceil<std::chrono::milliseconds>(m_end - now),
                        std::chrono::milliseconds(0));
    }
    /// The wait was in vain.
    void giveUp() noexcept {
        m_wasInVain = true;
        m_hurried /= 2;
    }

private:
    std::chrono::milliseconds m_limit{0};
    std::chrono::milliseconds m_hurried = std::chrono::seconds(10);
    bool m_wasInVain = false;
    bool m_isHurried = false;
    Clock::time_point m_end;
};

}  // namespace OpenWBEM
