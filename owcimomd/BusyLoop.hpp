// SPDX-License-Identifier: Apache-2.0
//
// Keeps the event loop awake for a moment after an answer was sent. A client that makes one call
// after another sends the next one within microseconds, and going to sleep and being woken would
// take longer than most operations do.
#pragma once

#include <kj/async.h>

#include <chrono>

namespace OwCimomd {

class BusyLoop : private kj::TaskSet::ErrorHandler {
public:
    BusyLoop() : m_task(*this) {}
    virtual ~BusyLoop() = default;
    KJ_DISALLOW_COPY(BusyLoop);

    /// The moment begins now.
    void stayAwake();

private:
    using Clock = std::chrono::steady_clock;

    kj::Promise<void> turn();
    void taskFailed(kj::Exception&& exception) override;

    Clock::time_point m_until;
    bool m_isTurning = false;
    kj::TaskSet m_task;
};

}  // namespace OwCimomd
