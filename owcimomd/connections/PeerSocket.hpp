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

class PeerSocket final : public kj::AsyncOutputStream {
public:
    /// Takes over a socket that does not block.
    PeerSocket(kj::UnixEventPort& loop, int fd);

    /// LocalSocket::receive.
    ssize_t receive(void* buffer, size_t size) noexcept { return m_socket.receive(buffer, size); }
    /// Done when there is more to receive than what the last call found; only after it has failed
    /// with EAGAIN.
    kj::Promise<void> whenReadable() { return m_observer.whenBecomesReadable(); }

    /// Sends as much as can be sent at once. Returns the rest: all of it when sending fails.
    kj::ArrayPtr<const kj::byte> sendNow(kj::ArrayPtr<const kj::byte> bytes) noexcept;

    kj::Promise<void> write(const void* buffer, size_t size) override;
    kj::Promise<void> write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) override;
    kj::Promise<void> whenWriteDisconnected() override { return kj::NEVER_DONE; }

private:
    OpenWBEM::LocalSocket m_socket;
    kj::UnixEventPort::FdObserver m_observer;
};

}  // namespace OwCimomd
