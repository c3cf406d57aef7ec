// SPDX-License-Identifier: Apache-2.0
//
// How a connection behaves towards the daemon, for all calls that are made through it.
#pragma once

#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/Timeout.hpp"

namespace OpenWBEM {

class WBEMProtocolHandler : public blocxx::IntrusiveCountableBase {
public:
    /// How long a call waits for its reply. A reply that does not come in time is an error, and
    /// what the call was to do may have been done all the same.
    void setTimeout(const blocxx::Timeout& timeout) { m_timeout = timeout; }
    const blocxx::Timeout& getTimeout() const noexcept { return m_timeout; }

private:
    blocxx::Timeout m_timeout = blocxx::Timeout::relative(std::chrono::minutes(5));
};
using WBEMProtocolHandlerRef = blocxx::IntrusiveReference<WBEMProtocolHandler>;

}  // namespace OpenWBEM
