// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/BusyLoop.hpp"

namespace OwCimomd {

namespace {

constexpr std::chrono::microseconds MOMENT{60};

}  // namespace

void BusyLoop::stayAwake() {
    m_until = Clock::now() + MOMENT;
    if (!m_isTurning) {
        m_isTurning = true;
        m_task.add(turn());
    }
}

/// One more event, so that the loop polls its descriptors instead of waiting for them.
kj::Promise<void> BusyLoop::turn() {
    return kj::evalLater([this]() -> kj::Promise<void> {
        if (Clock::now() < m_until) {
            return turn();
        }
        m_isTurning = false;
        return kj::READY_NOW;
    });
}

void BusyLoop::taskFailed(kj::Exception&& /*exception*/) {
    m_isTurning = false;
}

}  // namespace OwCimomd
