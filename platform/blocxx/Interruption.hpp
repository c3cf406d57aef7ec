// SPDX-License-Identifier: Apache-2.0
//
// What makes a run fail at its next step although no step failed: SIGINT, SIGTERM or SIGHUP, or a
// failure that was noticed where it must not be thrown, such as a log that cannot be written.
// Whatever begins a step calls check(); what undoes a step, or must run to its end, holds a
// Deferred; whatever waits for others watches descriptor(). For a program with one thread, and
// without effect in one that neither catches signals nor calls failLater().
#pragma once

#include <exception>

#include "blocxx/Exception.hpp"

namespace blocxx {

/// A signal has come.
BLOCXX_DECLARE_EXCEPTION(Interrupted)

namespace Interruption {

/// From now on these signals are noted instead of ending the process; those that the caller has the
/// program ignore stay ignored. Only the first one counts.
void catchSignals() noexcept;
/// Ends the process by the signal that has come, as it would have ended by it. Returns when none
/// has.
void endBySignal() noexcept;

/// Makes check() throw `failure` from now on, unless there is one already.
void failLater(std::exception_ptr failure) noexcept;
/// Throws that failure, or InterruptedException when a signal has come, unless something defers it.
void check();
/// What check() has thrown, or null: others may have wrapped it on its way.
std::exception_ptr thrown() noexcept;
/// Forgets everything. For tests, which are many runs in one process.
void forget() noexcept;

/// Whether a signal has come and nothing defers it.
bool isPending() noexcept;
/// Readable once isPending(); -1, which poll(2) ignores, while that cannot be.
int descriptor() noexcept;
/// Waits until one of the `events` of poll(2) is there. Throws what check() throws.
void wait(int fd, short events);

/// While there is one, nothing interrupts the run.
class Deferred {
public:
    Deferred() noexcept;
    ~Deferred();
    Deferred(const Deferred&) = delete;
    Deferred& operator=(const Deferred&) = delete;
};

}  // namespace Interruption

}  // namespace blocxx
