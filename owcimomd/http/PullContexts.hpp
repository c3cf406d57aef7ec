// SPDX-License-Identifier: Apache-2.0
//
// The enumerations that clients pull over HTTP (DSP0200 5.3.2.24). A context belongs to a user and
// not to a connection, and ends when its client leaves it alone for too long.
#pragma once

#include <kj/timer.h>

#include <deque>
#include <map>
#include <memory>

#include "openwbem/cimxml/IntrinsicMethod.hpp"
#include "owcimomd/operations/Operations.hpp"
#include "owcimomd/operations/RequestBudget.hpp"

namespace OwCimomd {

/// An enumeration under way, with the results that were read and not yet sent.
struct PulledEnumeration {
    /// The call that opened it, which says how its results are written.
    std::shared_ptr<const CIMXML::IntrinsicCall> opening;
    PermittedEnumeration results;
    std::deque<String> written{};
    bool isExhausted = false;
    RequestBudget::Share share{};
};

class PullContexts {
public:
    // In seconds. A client's own wish is kept up to the larger one.
    static constexpr uint32_t DEFAULT_TIMEOUT = 60;
    static constexpr uint32_t LARGEST_TIMEOUT = 900;
    /// Of one user.
    static constexpr size_t MAX_CONTEXTS = 256;

    PullContexts(kj::Timer& timer, RequestBudget& budget) : m_timer(timer), m_budget(budget) {}

    /// Keeps the enumeration and returns the name of its context, which cannot be guessed. Throws
    /// CIMException SERVER_LIMITS_EXCEEDED when the user has too many. `size`: of the message that
    /// has opened it, of which the call keeps what it needs.
    String keep(const User& user, PulledEnumeration enumeration, uint32_t timeout, size_t size);
    /// Takes the enumeration out, with its timeout. Throws CIMException INVALID_ENUMERATION_CONTEXT
    /// when the user has none of that name in the namespace.
    std::pair<PulledEnumeration, uint32_t> take(const User& user, const String& ns,
                                                const String& name);
    /// Puts it back under its name.
    void putBack(const User& user, const String& name, PulledEnumeration enumeration,
                 uint32_t timeout);

private:
    struct Context {
        uid_t user;
        PulledEnumeration enumeration;
        uint32_t timeout;
        kj::TimePoint end;
    };
    void dropExpired();

    kj::Timer& m_timer;
    RequestBudget& m_budget;
    std::map<String, Context> m_contexts;
};

}  // namespace OwCimomd
