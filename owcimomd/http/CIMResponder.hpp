// SPDX-License-Identifier: Apache-2.0
//
// Carries out what a CIM message asks for and writes the response: one door's half of the house's
// operations.
#pragma once

#include "openwbem/cimxml/Response.hpp"
#include "owcimomd/http/PullContexts.hpp"

namespace OwCimomd {

/// A response in the making.
struct CIMReply {
    /// What was written since it was last taken.
    String text{};
    /// Set until the last result was written.
    std::unique_ptr<PulledEnumeration> rest{};
};

class CIMResponder {
public:
    /// `host`: the name under which the client knows this machine.
    CIMResponder(Operations& operations, PullContexts& contexts, User user, String host)
        : m_operations(operations),
          m_contexts(contexts),
          m_user(std::move(user)),
          m_host(std::move(host)) {}

    /// A failure is a response, too. `size`: the message's, in bytes.
    CIMReply answer(CIMXML::Request message, size_t size);
    /// Writes more results. Throws CIMException.
    void writeMore(CIMReply& reply);

private:
    using Call = std::shared_ptr<const CIMXML::IntrinsicCall>;

    CIMReply carryOut(const String& id, const Call& call);
    void writeSome(PulledEnumeration& enumeration, const std::function<void(String)>& receive);
    void open(String& out, const Call& call);
    void pull(String& out, const CIMXML::IntrinsicCall& call);
    /// Moves results to `out` and reads more where they are wanted.
    void fill(String& out, PulledEnumeration& enumeration, size_t count);
    CIMXML::Place placeOf(const CIMXML::IntrinsicCall& call) const;

    Operations& m_operations;
    PullContexts& m_contexts;
    User m_user;
    String m_host;
    size_t m_size = 0;  // of the message
};

}  // namespace OwCimomd
