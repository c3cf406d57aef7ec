// SPDX-License-Identifier: Apache-2.0
//
// What makes a run fail at its next step although no step failed: a failure that was noticed where
// it must not be thrown, such as a log that cannot be written. Whatever begins a step calls
// check(); what undoes a step, or must run to its end, holds a Deferred. For a program with one
// thread.
#pragma once

#include <exception>

namespace blocxx::Interruption {

/// Makes check() throw `failure` from now on, unless there is one already.
void failLater(std::exception_ptr failure) noexcept;
/// What check() has thrown, or null: others may have wrapped it on its way.
std::exception_ptr thrown() noexcept;
/// Throws that failure, if there is one and nothing defers it.
void check();
/// Forgets the failure. For tests, which are many runs in one process.
void forget() noexcept;

/// While there is one, check() does nothing.
class Deferred {
public:
    Deferred() noexcept;
    ~Deferred();
    Deferred(const Deferred&) = delete;
    Deferred& operator=(const Deferred&) = delete;
};

}  // namespace blocxx::Interruption
