// SPDX-License-Identifier: Apache-2.0
//
// Lets one client after the other keep the loop busy. Between two of them the loop looks for what
// the clients of the local socket have sent, so that none of those waits for more than one turn.
#pragma once

#include <kj/async.h>
#include <kj/timer.h>

#include <deque>

namespace OwCimomd {

class Turns {
public:
    explicit Turns(kj::Timer& timer) : m_timer(timer) {}
    KJ_DISALLOW_COPY(Turns);

    /// Done when it is the caller's turn, which lasts until he returns to the loop.
    kj::Promise<void> take();

private:
    /// How long clients of the local socket who send one request after another come first.
    static constexpr kj::Duration PATIENCE = 50 * kj::MILLISECONDS;

    kj::Promise<void> giveOneAfterAnother();

    kj::Timer& m_timer;
    std::deque<kj::Own<kj::PromiseFulfiller<void>>> m_waiting;
    bool m_isGiving = false;
    kj::Promise<void> m_giving = kj::READY_NOW;
};

}  // namespace OwCimomd
