// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/BufferedStream.hpp"

#include <capnp/serialize.h>
#include <sched.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace OwCimomd {

namespace {

constexpr std::chrono::microseconds MOMENT{100};

}  // namespace

BufferedStream::BufferedStream(kj::AsyncIoStream& inner) : m_inner(inner), m_fd(-1) {
    KJ_IF_MAYBE (fd, inner.getFd()) {
        m_fd = *fd;
    }
}

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
    while ((count = ::recv(m_fd, m_buffer, SIZE, MSG_DONTWAIT)) < 0 && errno == EAGAIN &&
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

kj::ArrayPtr<const kj::byte> BufferedStream::sendNow(kj::ArrayPtr<const kj::byte> bytes) {
    const ssize_t count = ::send(m_fd, bytes.begin(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return bytes.slice(count < 0 ? 0 : static_cast<size_t>(count), bytes.size());
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
