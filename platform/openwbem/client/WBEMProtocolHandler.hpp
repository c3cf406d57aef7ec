// SPDX-License-Identifier: Apache-2.0
//
// Settings for all calls through a connection.
#pragma once

#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/Timeout.hpp"

namespace OpenWBEM {

class WBEMProtocolHandler : public blocxx::IntrusiveCountableBase {
public:
    /// How long a call waits for its reply. A call whose reply does not arrive in time fails,
    /// though the daemon may have carried it out.
    void setTimeout(const blocxx::Timeout& timeout) { m_timeout = timeout; }
    const blocxx::Timeout& getTimeout() const noexcept { return m_timeout; }

private:
    blocxx::Timeout m_timeout = blocxx::Timeout::relative(std::chrono::minutes(5));
};
using WBEMProtocolHandlerRef = blocxx::IntrusiveReference<WBEMProtocolHandler>;

}  // namespace OpenWBEM
