// SPDX-License-Identifier: Apache-2.0
//
// Listens on the local socket and serves all clients in one thread: each request is carried out to
// its end before the next one, of any client, begins.
#pragma once

#include <kj/async-io.h>
#include <kj/async-unix.h>

#include <functional>

#include "owcimomd/connections/ClientSession.hpp"
#include "owcimomd/connections/ConnectionQuota.hpp"
#include "owcimomd/process/RareReport.hpp"

namespace OwCimomd {

class Server : private kj::TaskSet::ErrorHandler {
public:
    /// Listens on a socket at `socketPath`. Replaces a socket that is there already; the caller
    /// makes sure that no other daemon runs. `otherClients`: as many descriptors are left for them.
    /// Throws blocxx::Exception.
    Server(kj::AsyncIoContext& io, const String& socketPath, Operations& operations,
           RequestBudget& budget, size_t otherClients);
    /// Stops listening, disconnects all clients and removes the socket.
    ~Server() noexcept;
    KJ_DISALLOW_COPY(Server);

    /// Serves until the process is told to end. Calls `onHangUp` for each SIGHUP, between two
    /// requests.
    void run(const std::function<void()>& onHangUp);

private:
    kj::Promise<void> awaitHangUps(const std::function<void()>& onHangUp);
    kj::Promise<void> acceptOneAfterAnother();
    kj::Promise<void> accept();
    void serve(kj::Own<PeerSocket> client, const User& user);
    void taskFailed(kj::Exception&& exception) override;

    kj::AsyncIoContext& m_io;
    String m_path;
    Operations& m_operations;
    OpenWBEM::LocalSocket m_listening;
    kj::UnixEventPort::FdObserver m_observer;
    ConnectionQuota m_quota;
    RequestBudget& m_budget;
    RareReport m_notAccepted;
    RareReport m_sentAway;
    kj::TaskSet m_sessions;
};

}  // namespace OwCimomd
