// SPDX-License-Identifier: Apache-2.0
//
// Failures of operations on a repository, told with what was attempted.
#pragma once

#include "openwbem/model/CIMException.hpp"

namespace OwUtilities {

using blocxx::String;

/// "cannot WHAT: REASON".
String describeAttempt(const String& what, const OpenWBEM::CIMException& e);

/// Throws CIMException with the status code of `e`: "cannot WHAT: REASON".
[[noreturn]] void failAttempt(const String& what, const OpenWBEM::CIMException& e);

/// Runs `action`; a CIMException of it tells what was attempted.
template <class Action>
void attempt(const String& what, Action action) {
    try {
        action();
    } catch (const OpenWBEM::CIMException& e) {
        failAttempt(what, e);
    }
}

}  // namespace OwUtilities
