// SPDX-License-Identifier: Apache-2.0
//
// Makes a run fail at its next step: after SIGINT, SIGTERM or SIGHUP, or after a failure that must
// not be thrown where it happens, such as a log that cannot be written. Code that begins a step
// calls check(). Code that undoes a step, or must run to its end, holds a Deferred. Code that waits
// watches descriptor(). Only for programs with one thread. Nothing interrupts a program that
// neither catches signals nor calls failLater().
#pragma once

#include <exception>

#include "blocxx/Exception.hpp"

namespace blocxx {

/// A signal has come.
BLOCXX_DECLARE_EXCEPTION(Interrupted)

namespace Interruption {

/// From now on these signals are recorded instead of ending the process. Ignored signals stay
/// ignored. Only the first signal counts.
void catchSignals() noexcept;
/// Ends the process with the default action of the recorded signal, so that the parent sees the
/// signal. Returns when there is none.
void endBySignal() noexcept;

/// Makes check() throw `failure` from now on, unless there is one already.
void failLater(std::exception_ptr failure) noexcept;
/// Throws that failure, or InterruptedException after a signal. Does nothing while there is a
/// Deferred.
void check();
/// The exception that check() has thrown, or null. What a caller catches may wrap it.
std::exception_ptr thrown() noexcept;
/// Forgets everything. For tests, which are many runs in one process.
void forget() noexcept;

/// Whether a signal has come and there is no Deferred.
bool isPending() noexcept;
/// Whether a signal has come, even while there is a Deferred.
bool hasSignal() noexcept;
/// Readable while hasSignal(); -1 while signals are not caught.
int signalDescriptor() noexcept;
/// Readable while isPending(); -1, which poll(2) ignores, while there is a Deferred or signals are
/// not caught.
int descriptor() noexcept;
/// Waits for the `events` of poll(2) on `fd`. Throws what check() throws.
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
