// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/BufferedStream.hpp"

#include <capnp/serialize.h>
#include <sched.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace OwCimomd {

namespace {

constexpr std::chrono::microseconds MOMENT{100};

}  // namespace

size_t BufferedStream::take(void* buffer, size_t maxBytes) {
    const size_t size = std::min(maxBytes, m_unread.size());
    if (size > 0) {
        std::memcpy(buffer, m_unread.begin(), size);
        m_unread = m_unread.slice(size, m_unread.size());
    }
    return size;
}

/// Nothing when the end or a failure has come, which the next reading meets, too.
size_t BufferedStream::receiveSoon() {
    using Clock = std::chrono::steady_clock;
    const auto until = Clock::now() + MOMENT;
    ssize_t count = -1;
    while ((count = m_socket.receive(m_buffer, SIZE)) < 0 && errno == EAGAIN &&
           Clock::now() < until) {
        // The client may be waiting for this processor.
        ::sched_yield();
    }
    return count < 0 ? 0 : static_cast<size_t>(count);
}

kj::ArrayPtr<const capnp::word> BufferedStream::messageSoon() {
    if (m_unread.size() == 0) {
        m_unread = kj::arrayPtr(m_buffer, receiveSoon());
    }
    const kj::ArrayPtr<const capnp::word> here(
        reinterpret_cast<const capnp::word*>(m_unread.begin()),
        m_unread.size() / sizeof(capnp::word));
    const bool isAligned = (m_unread.begin() - m_buffer) % sizeof(capnp::word) == 0;
    const size_t size = capnp::expectedSizeInWordsFromPrefix(here);
    if (!isAligned || here.size() == 0 || size > here.size()) {
        return nullptr;
    }
    m_unread = m_unread.slice(size * sizeof(capnp::word), m_unread.size());
    return here.slice(0, size);
}

kj::Promise<size_t> BufferedStream::tryRead(void* buffer, size_t minBytes, size_t maxBytes) {
    return readRest(static_cast<kj::byte*>(buffer), take(buffer, maxBytes), minBytes, maxBytes);
}

/// Goes on where `size` bytes have been read. Between two pieces of what is larger than the buffer,
/// which goes where it is wanted at once, other clients have their turn.
kj::Promise<size_t> BufferedStream::readRest(kj::byte* buffer, size_t size, size_t minBytes,
                                             size_t maxBytes) {
    const auto goOn = [=, this](size_t now) { return readRest(buffer, now, minBytes, maxBytes); };
    while (size < minBytes) {
        const bool isLarge = minBytes - size >= SIZE;
        const ssize_t count = isLarge ? m_socket.receive(buffer + size, maxBytes - size)
                                      : m_socket.receive(m_buffer, SIZE);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno == EAGAIN) {
            return m_socket.whenReadable().then([=] { return goOn(size); });
        }
        if (count < 0 && errno != EINTR) {
            failCall("recv");
        }
        if (count > 0 && isLarge) {
            return kj::evalLater([=] { return goOn(size + static_cast<size_t>(count)); });
        }
        m_unread = kj::arrayPtr(m_buffer, count < 0 ? 0 : static_cast<size_t>(count));
        size += take(buffer + size, maxBytes - size);
    }
    return size;
}

}  // namespace OwCimomd
