// SPDX-License-Identifier: Apache-2.0
//
// Listens on the local socket and serves every client that connects, all in one thread: a request
// is carried out to its end, then the next one of whichever client has sent one.
#pragma once

#include <kj/async-io.h>
#include <kj/async-unix.h>

#include "owcimomd/connections/ClientSession.hpp"
#include "owcimomd/connections/Places.hpp"
#include "owcimomd/process/RareReport.hpp"

namespace OwCimomd {

class Server : private kj::TaskSet::ErrorHandler {
public:
    /// Listens on a socket of that path, in place of one that is left from a dead daemon: the
    /// caller sees to it that there is no other daemon. Requests have at most `maxRequest` bytes.
    /// Throws DaemonException.
    Server(kj::AsyncIoContext& io, const String& socketPath, Operations& operations,
           size_t maxRequest);
    /// Stops listening, sends all clients away and removes the socket.
    ~Server() noexcept;
    KJ_DISALLOW_COPY(Server);

    /// Serves until the process is told to end.
    void run();

private:
    kj::Promise<void> acceptOneAfterAnother();
    kj::Promise<void> accept();
    void serve(kj::Own<PeerSocket> client, const User& user);
    void taskFailed(kj::Exception&& exception) override;

    kj::AsyncIoContext& m_io;
    String m_path;
    Operations& m_operations;
    OpenWBEM::LocalSocket m_listening;
    kj::UnixEventPort::FdObserver m_observer;
    Places m_places;
    RequestBudget m_budget;
    RareReport m_notAccepted;
    RareReport m_sentAway;
    kj::TaskSet m_sessions;
};

}  // namespace OwCimomd
