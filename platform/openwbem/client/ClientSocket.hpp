// SPDX-License-Identifier: Apache-2.0
//
// The client's socket: sends and receives Cap'n Proto messages. The daemon is not trusted: a wait
// has a limit for a whole message, and a message with descriptors is refused.
#pragma once

#include <capnp/serialize.h>
#include <kj/io.h>

#include "blocxx/String.hpp"
#include "openwbem/client/Patience.hpp"
#include "openwbem/wire/LocalSocket.hpp"

namespace OpenWBEM {

/// Why a connection cannot be used any more.
struct BrokenConnection {
    const char* reason;
    bool nothingWasSent = false;
};

class ClientSocket : private kj::InputStream {
public:
    /// Connects. Waits while the daemon's queue of connections is full. Throws CIMException FAILED
    /// that names the path and the remedy.
    ClientSocket(const blocxx::String& path, Patience& patience);
    ~ClientSocket() noexcept(false) override = default;
    ClientSocket(const ClientSocket&) = delete;
    ClientSocket& operator=(const ClientSocket&) = delete;

    // These throw BrokenConnection.

    /// Begins a wait: what is sent from now on must be sent before it ends.
    void beginSending() noexcept { m_patience.beginWait(); }
    /// Sends as much of `bytes` as fits without waiting and removes it from `bytes`. False when
    /// nothing fits.
    bool trySend(kj::ArrayPtr<const char>& bytes);
    void waitUntilSendable();
    /// Receives the next message, within one wait. Also throws kj::Exception for bytes that are not
    /// a message.
    kj::Own<capnp::MessageReader> receive();

private:
    size_t tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;
    void wait(short events);

    LocalSocket m_socket;
    Patience& m_patience;
    bool m_hasSent = false;
    kj::BufferedInputStreamWrapper m_buffered;
};

}  // namespace OpenWBEM
