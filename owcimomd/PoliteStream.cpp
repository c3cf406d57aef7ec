// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/PoliteStream.hpp"

namespace OwCimomd {

kj::Promise<size_t> PoliteStream::tryRead(void* buffer, size_t minBytes, size_t maxBytes) {
    if (m_writes == 0) {
        return m_inner->tryRead(buffer, minBytes, maxBytes);
    }
    auto paf = kj::newPromiseAndFulfiller<void>();
    m_waitingReader = kj::mv(paf.fulfiller);
    return paf.promise.then([this, buffer, minBytes, maxBytes] {
        return m_inner->tryRead(buffer, minBytes, maxBytes);
    });
}

/// Counts a write that is under way. The reader goes on however it ends: a connection that is gone
/// must be noticed by reading.
kj::Promise<void> PoliteStream::tracked(kj::Promise<void> write) {
    ++m_writes;
    return write.attach(kj::defer([this] {
        if (--m_writes > 0) {
            return;
        }
        KJ_IF_MAYBE (reader, m_waitingReader) {
            (*reader)->fulfill();
            m_waitingReader = nullptr;
        }
    }));
}

kj::Promise<void> PoliteStream::write(const void* buffer, size_t size) {
    return tracked(m_inner->write(buffer, size));
}

kj::Promise<void> PoliteStream::write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) {
    return tracked(m_inner->write(pieces));
}

}  // namespace OwCimomd
