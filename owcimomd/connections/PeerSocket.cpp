// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/PeerSocket.hpp"

#include <kj/debug.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace OwCimomd {

namespace {

constexpr size_t LARGEST_READ = size_t(64) << 10U;

}  // namespace

void failCall(const char* call) {
    kj::throwFatalException(KJ_EXCEPTION(FAILED, call, std::strerror(errno)));
}

PeerSocket::PeerSocket(kj::UnixEventPort& loop, int fd)
    : m_socket(fd), m_observer(loop, fd, kj::UnixEventPort::FdObserver::OBSERVE_READ_WRITE) {}

kj::Promise<size_t> PeerSocket::tryRead(void* buffer, size_t minBytes, size_t maxBytes) {
    return readRest(kj::arrayPtr(static_cast<kj::byte*>(buffer), maxBytes), 0, minBytes);
}

/// Continues where `size` bytes have been read.
kj::Promise<size_t> PeerSocket::readRest(kj::ArrayPtr<kj::byte> buffer, size_t size,
                                         size_t minBytes) {
    if (size >= minBytes) {
        return size;
    }
    const ssize_t count =
        m_socket.receive(buffer.begin() + size, std::min(buffer.size() - size, LARGEST_READ));
    if (count == 0) {
        return size;
    }
    if (count < 0 && errno == EAGAIN) {
        return m_observer.whenBecomesReadable().then(
            [=, this] { return readRest(buffer, size, minBytes); });
    }
    if (count < 0 && errno != EINTR) {
        failCall("recv");
    }
    return kj::evalLater([=, this, now = size + static_cast<size_t>(std::max<ssize_t>(count, 0))] {
        return readRest(buffer, now, minBytes);
    });
}

kj::Promise<void> PeerSocket::write(kj::ArrayPtr<const kj::byte> bytes) {
    while (bytes.size() > 0) {
        const ssize_t count =
            ::send(m_socket.fd(), bytes.begin(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno == EAGAIN) {
            return m_observer.whenBecomesWritable().then([this, bytes] { return write(bytes); });
        }
        if (count < 0 && errno != EINTR) {
            failCall("send");
        }
        bytes = bytes.slice(static_cast<size_t>(std::max<ssize_t>(count, 0)), bytes.size());
    }
    return kj::READY_NOW;
}

}  // namespace OwCimomd
