// SPDX-License-Identifier: Apache-2.0
//
// Invariants, in three strengths. What the compiler can decide is a static_assert. What only a
// mistake in this program can break is
//  - believed(), when the caller has a safe answer and goes on with it,
//  - ensured(), when the next step would do harm without it.
// Input, files and other processes are no invariants: what is wrong with them is an error with a
// text for the user.
#pragma once

#include "blocxx/Exception.hpp"

namespace blocxx {

BLOCXX_DECLARE_EXCEPTION(Invariant)

/// Returns `holds`. When it is false, aborts in a build with the sanitizers, so that tests find it.
bool believed(bool holds, CallSite place = CallSite::here()) noexcept;

/// Throws InvariantException, which asks the user to report it, when `holds` is false.
void ensured(bool holds, CallSite place = CallSite::here());

}  // namespace blocxx
