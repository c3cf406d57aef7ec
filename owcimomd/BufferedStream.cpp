// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/BufferedStream.hpp"

#include <algorithm>
#include <cstring>

namespace OwCimomd {

size_t BufferedStream::take(void* buffer, size_t maxBytes) {
    const size_t size = std::min(maxBytes, m_unread.size());
    if (size > 0) {
        std::memcpy(buffer, m_unread.begin(), size);
        m_unread = m_unread.slice(size, m_unread.size());
    }
    return size;
}

kj::Promise<size_t> BufferedStream::tryRead(void* buffer, size_t minBytes, size_t maxBytes) {
    const size_t taken = take(buffer, maxBytes);
    if (taken >= minBytes) {
        return taken;
    }
    kj::byte* rest = static_cast<kj::byte*>(buffer) + taken;
    const size_t missing = minBytes - taken;
    // What is larger than the buffer goes where it is wanted at once.
    if (missing >= SIZE) {
        return m_inner.tryRead(rest, missing, maxBytes - taken).then([taken](size_t count) {
            return taken + count;
        });
    }
    return m_inner.tryRead(m_buffer, missing, SIZE)
        .then([this, rest, taken, room = maxBytes - taken](size_t count) {
            m_unread = kj::arrayPtr(m_buffer, count);
            return taken + take(rest, room);
        });
}

}  // namespace OwCimomd
