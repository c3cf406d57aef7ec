// SPDX-License-Identifier: Apache-2.0
//
// Adds what was attempted to the failures of operations on a repository. `what` is a verb phrase,
// such as "delete the namespace \"x\"".
#pragma once

#include "openwbem/model/CIMException.hpp"

namespace OwUtilities {

using blocxx::String;

/// "cannot WHAT: REASON".
String describeAttempt(const String& what, const OpenWBEM::CIMException& e);

/// Throws CIMException "cannot WHAT: REASON" with the status code of `e`.
[[noreturn]] void failAttempt(const String& what, const OpenWBEM::CIMException& e);

/// Runs `action`. Passes a CIMException that it throws to failAttempt().
template <class Action>
void attempt(const String& what, Action action) {
    try {
        action();
    } catch (const OpenWBEM::CIMException& e) {
        failAttempt(what, e);
    }
}

}  // namespace OwUtilities
