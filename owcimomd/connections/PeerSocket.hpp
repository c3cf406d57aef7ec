// SPDX-License-Identifier: Apache-2.0
//
// The socket of one client, on the event loop.
#pragma once

#include <kj/async-io.h>
#include <kj/async-unix.h>

#include "openwbem/wire/LocalSocket.hpp"

namespace OwCimomd {

/// Throws kj::Exception with the call's name and errno.
[[noreturn]] void failCall(const char* call);

class PeerSocket final : public kj::AsyncInputStream {
public:
    /// Takes over a socket that does not block.
    PeerSocket(kj::UnixEventPort& loop, int fd);

    /// Serves other clients between two pieces of a large message.
    kj::Promise<size_t> tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;
    /// Done when all bytes have been sent; they must stay valid until then.
    kj::Promise<void> write(kj::ArrayPtr<const kj::byte> bytes);

private:
    kj::Promise<size_t> readRest(kj::ArrayPtr<kj::byte> buffer, size_t size, size_t minBytes);

    OpenWBEM::LocalSocket m_socket;
    kj::UnixEventPort::FdObserver m_observer;
};

}  // namespace OwCimomd
