// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/PeerSocket.hpp"

#include <kj/debug.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace OwCimomd {

void failCall(const char* call) {
    kj::throwFatalException(KJ_EXCEPTION(FAILED, call, std::strerror(errno)));
}

PeerSocket::PeerSocket(kj::UnixEventPort& loop, int fd)
    : m_socket(fd), m_observer(loop, fd, kj::UnixEventPort::FdObserver::OBSERVE_READ_WRITE) {}

kj::ArrayPtr<const kj::byte> PeerSocket::sendNow(kj::ArrayPtr<const kj::byte> bytes) noexcept {
    const ssize_t count =
        ::send(m_socket.fd(), bytes.begin(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return bytes.slice(count < 0 ? 0 : static_cast<size_t>(count), bytes.size());
}

kj::Promise<void> PeerSocket::write(const void* buffer, size_t size) {
    kj::ArrayPtr<const kj::byte> rest(static_cast<const kj::byte*>(buffer), size);
    while (rest.size() > 0) {
        const size_t before = rest.size();
        errno = 0;
        rest = sendNow(rest);
        if (rest.size() == before && errno == EAGAIN) {
            return m_observer.whenBecomesWritable().then(
                [this, rest] { return write(rest.begin(), rest.size()); });
        }
        if (rest.size() == before && errno != EINTR) {
            failCall("send");
        }
    }
    return kj::READY_NOW;
}

kj::Promise<void> PeerSocket::write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) {
    if (pieces.size() == 0) {
        return kj::READY_NOW;
    }
    return write(pieces[0].begin(), pieces[0].size())
        .then([this, rest = pieces.slice(1, pieces.size())] { return write(rest); });
}

}  // namespace OwCimomd
