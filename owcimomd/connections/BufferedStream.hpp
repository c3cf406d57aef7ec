// SPDX-License-Identifier: Apache-2.0
//
// Reads a connection in large pieces: a message takes one system call and not one for each of its
// parts. What is about to come takes no event either.
#pragma once

#include <capnp/common.h>
#include <kj/async-io.h>

#include "owcimomd/connections/PeerSocket.hpp"

namespace OwCimomd {

class BufferedStream final : public kj::AsyncInputStream {
public:
    explicit BufferedStream(PeerSocket& socket) : m_socket(socket) {}

    kj::Promise<size_t> tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;

    /// The next message, in Cap'n Proto's framing, when it is here or comes within a moment, in
    /// which the event loop waits. Empty when it does not, or is larger than the buffer. Stays
    /// until the next reading.
    kj::ArrayPtr<const capnp::word> messageSoon();

private:
    size_t take(void* buffer, size_t maxBytes);
    size_t receiveSoon();
    kj::Promise<size_t> readRest(kj::byte* buffer, size_t size, size_t minBytes, size_t maxBytes);

    static constexpr size_t SIZE = size_t(16) << 10U;

    PeerSocket& m_socket;
    kj::ArrayPtr<kj::byte> m_unread;  // in the buffer
    alignas(capnp::word) kj::byte m_buffer[SIZE];
};

}  // namespace OwCimomd
