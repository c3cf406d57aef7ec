// SPDX-License-Identifier: Apache-2.0
//
// Reads a connection in large pieces: a message takes one system call and not one for each of its
// parts.
#pragma once

#include <kj/async-io.h>

namespace OwCimomd {

class BufferedStream final : public kj::AsyncInputStream {
public:
    explicit BufferedStream(kj::AsyncInputStream& inner) : m_inner(inner) {}

    kj::Promise<size_t> tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;

private:
    size_t take(void* buffer, size_t maxBytes);

    static constexpr size_t SIZE = size_t(16) << 10U;

    kj::AsyncInputStream& m_inner;
    kj::ArrayPtr<kj::byte> m_unread;  // in the buffer
    kj::byte m_buffer[SIZE];
};

}  // namespace OwCimomd
