// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/Turns.hpp"

namespace OwCimomd {

kj::Promise<void> Turns::take() {
    auto turn = kj::newPromiseAndFulfiller<void>();
    m_waiting.push_back(kj::mv(turn.fulfiller));
    if (!m_isGiving) {
        m_isGiving = true;
        m_giving = giveOneAfterAnother().eagerlyEvaluate(nullptr);
    }
    return kj::mv(turn.promise);
}

kj::Promise<void> Turns::giveOneAfterAnother() {
    while (!m_waiting.empty() && !m_waiting.front()->isWaiting()) {
        m_waiting.pop_front();
    }
    if (m_waiting.empty()) {
        m_isGiving = false;
        return kj::READY_NOW;
    }
    m_waiting.front()->fulfill();
    m_waiting.pop_front();
    // The timer makes the loop look who has sent something. What they have sent takes several
    // events, and each would wait for a turn if the next one did not come last.
    return m_timer.afterDelay(0 * kj::SECONDS)
        .then([this] { return kj::evalLast([] {}).exclusiveJoin(m_timer.afterDelay(PATIENCE)); })
        .then([this] { return giveOneAfterAnother(); });
}

}  // namespace OwCimomd
