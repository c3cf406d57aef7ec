// SPDX-License-Identifier: Apache-2.0
//
// A client's connection that is not read from while the client does not take its answers: requests
// then wait with the client, and not their answers with the daemon.
#pragma once

#include <kj/async-io.h>

namespace OwCimomd {

class PoliteStream final : public kj::AsyncIoStream {
public:
    explicit PoliteStream(kj::Own<kj::AsyncIoStream> inner) : m_inner(kj::mv(inner)) {}

    kj::Promise<size_t> tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;
    kj::Promise<void> write(const void* buffer, size_t size) override;
    kj::Promise<void> write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) override;
    kj::Promise<void> whenWriteDisconnected() override { return m_inner->whenWriteDisconnected(); }
    void shutdownWrite() override { m_inner->shutdownWrite(); }
    void abortRead() override { m_inner->abortRead(); }

private:
    kj::Promise<void> tracked(kj::Promise<void> write);

    kj::Own<kj::AsyncIoStream> m_inner;
    unsigned m_writes = 0;
    kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> m_waitingReader;
};

}  // namespace OwCimomd
