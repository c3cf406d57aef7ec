// SPDX-License-Identifier: Apache-2.0
//
// The window for standard clients: listens for CIM-XML over HTTP, with TLS where a certificate is
// configured.
#pragma once

#include <list>

#include "owcimomd/http/HttpSession.hpp"
#include "owcimomd/http/HttpSettings.hpp"

namespace OwCimomd {

class HttpServer final : private kj::TaskSet::ErrorHandler {
public:
    /// At once. When all are taken, a client that has not said who it is makes room for the next.
    static constexpr size_t MAX_CONNECTIONS = 128;
    /// Of one user. All users together have four times as many, and the rest is for those who have
    /// yet to say who they are.
    static constexpr size_t MAX_OF_USER = 24;

    /// Listens. Throws blocxx::Exception, which names the key, for settings that cannot be used.
    HttpServer(kj::AsyncIoContext& io, const HttpSettings& settings, Operations& operations,
               RequestBudget& budget);
    KJ_DISALLOW_COPY(HttpServer);

private:
    struct Connection {
        String address;
        HttpSession* session;  ///< null while TLS is being agreed on
        kj::Own<kj::PromiseFulfiller<void>> end;
    };
    using Connections = std::list<Connection>;

    kj::Promise<void> acceptOneAfterAnother();
    void serve(kj::Own<kj::AsyncIoStream> stream);
    kj::Promise<void> serveSecured(kj::Own<kj::AsyncIoStream> stream, Connection& connection);
    bool makeRoom();
    void taskFailed(kj::Exception&& exception) override;

    kj::Timer& m_timer;
    Authenticator m_authenticator;
    PullContexts m_contexts;
    Turns m_turns;
    RequestBudget m_places;
    RareReport m_refusals;
    RareReport m_notAccepted;
    HttpSurroundings m_surroundings;
    kj::Own<kj::TlsContext> m_tls;  // null without a certificate
    kj::Own<kj::ConnectionReceiver> m_receiver;
    Connections m_connections;
    kj::TaskSet m_tasks;
};

}  // namespace OwCimomd
