// SPDX-License-Identifier: Apache-2.0
//
// The socket of a connection: Cap'n Proto messages both ways, with a time limit for each wait. The
// daemon is not trusted: descriptors that it passes are refused.
#pragma once

#include <capnp/serialize.h>
#include <kj/io.h>

#include "blocxx/String.hpp"
#include "blocxx/Timeout.hpp"
#include "openwbem/wire/LocalSocket.hpp"

namespace OpenWBEM {

/// Why a connection cannot be used any more.
struct BrokenConnection {
    const char* reason;
    bool nothingWasSent;
};

class ClientSocket : private kj::InputStream {
public:
    /// Connects; waits for as long as the daemon's queue is full. Throws CIMException FAILED that
    /// names the path and the remedy.
    ClientSocket(const blocxx::String& path, const blocxx::Timeout& timeout);
    ~ClientSocket() noexcept(false) override = default;
    ClientSocket(const ClientSocket&) = delete;
    ClientSocket& operator=(const ClientSocket&) = delete;

    void setTimeout(const blocxx::Timeout& timeout) { m_timeout = timeout; }

    // These throw BrokenConnection.

    /// Sends what fits at once, from `bytes`, which is cut accordingly. False when nothing fits.
    bool trySend(kj::ArrayPtr<const char>& bytes);
    void waitUntilSendable();
    /// The next message, all of it. Also throws kj::Exception when it is none.
    kj::Own<capnp::MessageReader> receive();

private:
    size_t tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;
    void wait(short events);

    LocalSocket m_socket;
    blocxx::Timeout m_timeout;
    bool m_hasSent = false;
    kj::BufferedInputStreamWrapper m_buffered;
};

}  // namespace OpenWBEM
