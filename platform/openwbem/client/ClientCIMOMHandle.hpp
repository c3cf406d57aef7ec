// SPDX-License-Identifier: Apache-2.0
//
// Carries out the operations of CIMOMHandleIFC through the running daemon. Each call is one round
// trip and is committed when it returns; commit() makes it durable. Enumerations arrive in
// portions. Operations throw the CIMExceptions that a repository opened directly would throw, and
// CIMException FAILED when the daemon cannot be reached or the connection is lost.
//
// A handle belongs to one thread and cannot be shared with a child process. Releasing a handle
// never fails, even when its daemon has gone.
#pragma once

#include <memory>

#include "openwbem/client/WBEMProtocolHandler.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/model/ObjectStoring.hpp"

namespace OpenWBEM {

class ClientConnection;

/// The kernel identifies the user of the local transport, which encrypts nothing. References of
/// these types are always null.
class ClientAuthCBIFC : public blocxx::IntrusiveCountableBase {};
using ClientAuthCBIFCRef = blocxx::IntrusiveReference<ClientAuthCBIFC>;
class SSLClientCtx : public blocxx::IntrusiveCountableBase {};
using SSLClientCtxRef = blocxx::IntrusiveReference<SSLClientCtx>;

class ClientCIMOMHandle : public CIMOMHandleIFC {
public:
    /// The daemon of this machine.
    static constexpr const char* LOCAL_URL = "owbinary.wbem://localhost:owipc";

    /// A handle that connects at its first call. `url` is LOCAL_URL or "owbinary.wbem://localhost:"
    /// with the absolute path of a daemon's socket. Throws CIMException INVALID_PARAMETER for any
    /// other.
    static blocxx::IntrusiveReference<ClientCIMOMHandle> createFromURL(
        const String& url, const ClientAuthCBIFCRef& authCallback = ClientAuthCBIFCRef(),
        const SSLClientCtxRef& sslContext = SSLClientCtxRef());
    ~ClientCIMOMHandle() override;

    const WBEMProtocolHandlerRef& getWBEMProtocolHandler() const noexcept { return m_protocol; }
    /// Whether a daemon answers; any user may ask. Throws CIMException FAILED when none does.
    void ping();

    // CIMOMHandleIFC
    OperationResult carryOut(const OperationCall& call) override;
    /// Makes the daemon sync everything that its calls have committed.
    void commit() override;

    /// Creates the objects, or modifies those that exist, many of them in one transaction each.
    /// Throws ObjectStoringException for an object that cannot be stored, and CIMException when the
    /// connection fails. The transactions before the failure stay.
    void store(const String& ns, const ObjectsToStore& objects);

private:
    explicit ClientCIMOMHandle(const String& socketPath);

    template <class T>
    void enumerate(const OperationCall& call, ResultHandlerIFC<T>& results);

    WBEMProtocolHandlerRef m_protocol;
    std::unique_ptr<ClientConnection> m_connection;
};
using ClientCIMOMHandleRef = blocxx::IntrusiveReference<ClientCIMOMHandle>;

}  // namespace OpenWBEM
