// SPDX-License-Identifier: Apache-2.0
//
// Reads the calls of one client, each into memory that is accounted for before it is taken.
#pragma once

#include <capnp/common.h>

#include "owcimomd/connections/PeerSocket.hpp"
#include "owcimomd/connections/RequestBudget.hpp"

namespace OwCimomd {

/// A call in Cap'n Proto's framing; no words at the end of the connection. A call that may not be
/// received has a reason instead, and nothing can be read after it.
struct ReceivedCall {
    kj::Array<capnp::word> words;
    std::shared_ptr<RequestBudget::Part> part;
    const char* refusal = nullptr;
};

class CallReader {
public:
    /// A call has at most `maxBytes`.
    CallReader(PeerSocket& input, RequestBudget& budget, uid_t user, size_t maxBytes)
        : m_input(input), m_budget(budget), m_user(user), m_maxBytes(maxBytes) {}

    /// Fails when the connection ends within a call or with what is none.
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
