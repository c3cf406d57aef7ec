// SPDX-License-Identifier: Apache-2.0
//
// Listens on the local socket and serves every client that connects, all in one thread: a request
// is carried out to its end, then the next one of whichever client has sent one.
#pragma once

#include <kj/async-io.h>

#include "owcimomd/ClientSession.hpp"
#include "owcimomd/Places.hpp"
#include "owcimomd/RareReport.hpp"

namespace OwCimomd {

class Server : private kj::TaskSet::ErrorHandler {
public:
    /// Listens on a socket of that path, in place of one that is left from a dead daemon: the
    /// caller sees to it that there is no other daemon. Throws DaemonException.
    Server(kj::AsyncIoContext& io, const String& socketPath, Operations& operations);
    /// Stops listening, sends all clients away and removes the socket.
    ~Server() noexcept;
    KJ_DISALLOW_COPY(Server);

    /// Serves until the process is told to end.
    void run();

private:
    kj::Promise<void> acceptOneAfterAnother();
    void serve(kj::AuthenticatedStream client);
    void taskFailed(kj::Exception&& exception) override;

    kj::AsyncIoContext& m_io;
    String m_path;
    Operations& m_operations;
    kj::Own<kj::ConnectionReceiver> m_receiver;
    Places m_places;
    RareReport m_notAccepted;
    RareReport m_sentAway;
    Conversation m_conversation;
    kj::TaskSet m_sessions;
};

}  // namespace OwCimomd
