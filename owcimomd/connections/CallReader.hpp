// SPDX-License-Identifier: Apache-2.0
//
// Reads the calls of one client. The memory of a large call is counted against the budget before it
// is allocated.
#pragma once

#include <capnp/common.h>

#include "owcimomd/connections/PeerSocket.hpp"
#include "owcimomd/operations/RequestBudget.hpp"

namespace OwCimomd {

/// A call in Cap'n Proto's framing; without words at the end of the connection. A call that exceeds
/// a limit has a refusal instead, and nothing can be read after it.
struct ReceivedCall {
    kj::Array<capnp::word> words;
    RequestBudget::Share share;
    const char* refusal = nullptr;
};

class CallReader {
public:
    /// `maxBytes`: the largest call.
    CallReader(PeerSocket& input, RequestBudget& budget, uid_t user, size_t maxBytes)
        : m_input(input), m_budget(budget), m_user(user), m_maxBytes(maxBytes) {}

    /// Fails when the connection ends within a call, or for anything that is not a call.
    kj::Promise<ReceivedCall> next();

private:
    kj::Promise<ReceivedCall> readTable();
    kj::Promise<ReceivedCall> readSegments();

    PeerSocket& m_input;
    RequestBudget& m_budget;
    uid_t m_user;
    size_t m_maxBytes;
    kj::Array<capnp::word> m_table;
};

}  // namespace OwCimomd
