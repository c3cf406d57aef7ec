// SPDX-License-Identifier: Apache-2.0
#include "openwbem/client/ClientSocket.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/wire/RpcLimits.hpp"

namespace OpenWBEM {

using blocxx::Format;
using blocxx::String;

namespace {

constexpr const char* REMEDY =
    "is it running? Start it with \"/opt/tarvo/kov/sbin/tarvo-owcimomd_init start\"";

/// How often a wait for a full queue checks whether the run was interrupted.
constexpr std::chrono::milliseconds LOOK_AROUND = std::chrono::seconds(1);

[[noreturn]] void failToReach(const String& path, const char* reason) {
    OPENWBEM_THROW_CIM(
        FAILED, Format("owcimomd cannot be reached at \"%1\": %2; %3", path, reason, REMEDY));
}

/// Zero would be no limit.
void limitConnecting(int fd, std::chrono::milliseconds time) {
    const std::chrono::microseconds limited =
        std::clamp<std::chrono::microseconds>(time, std::chrono::microseconds(1), LOOK_AROUND);
    const timeval limit{limited.count() / 1000000, limited.count() % 1000000};
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

int newSocket(const String& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        failToReach(path, std::strerror(errno));
    }
    return fd;
}

void connectTo(int fd, const String& path, Patience& patience) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        failToReach(path, "the path is too long for a socket");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    patience.beginWait();
    limitConnecting(fd, patience.left());
    while (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno;
        blocxx::Interruption::check();
        if (error != EINTR && error != EAGAIN) {
            failToReach(path, std::strerror(error));
        }
        const auto left = patience.left();
        if (left.count() == 0) {
            patience.giveUp();
            failToReach(path, "it does not answer");
        }
        limitConnecting(fd, left);
    }
}

capnp::ReaderOptions readerOptions() {
    capnp::ReaderOptions options;
    options.traversalLimitInWords = RpcLimits::MAX_WORDS;
    options.nestingLimit = RpcLimits::NESTING;
    return options;
}

}  // namespace

ClientSocket::ClientSocket(const String& path, Patience& patience)
    : m_socket(newSocket(path)), m_patience(patience), m_buffered(*this) {
    connectTo(m_socket.fd(), path, patience);
}

void ClientSocket::wait(short events) {
    using blocxx::Interruption::hasSignal;
    // A signal ends the poll even while it is deferred: it shortens the wait.
    pollfd waiting[]{{m_socket.fd(), events, 0},
                     {hasSignal() ? -1 : blocxx::Interruption::signalDescriptor(), POLLIN, 0}};
    // Not while bytes come: a daemon could send one after the other without end.
    while (const auto left = m_patience.left().count()) {
        const int rc = ::poll(waiting, 2, static_cast<int>(left));
        const int error = errno;
        blocxx::Interruption::check();
        if (waiting[0].revents != 0) {
            return;
        }
        if (rc < 0 && error != EINTR) {
            throw BrokenConnection{std::strerror(error)};
        }
        if (hasSignal()) {
            waiting[1].fd = -1;
        }
    }
    m_patience.giveUp();
    throw BrokenConnection{"no reply came in time"};
}

bool ClientSocket::trySend(kj::ArrayPtr<const char>& bytes) {
    const ssize_t count =
        ::send(m_socket.fd(), bytes.begin(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count >= 0) {
        m_hasSent = static_cast<size_t>(count) < bytes.size();
        bytes = bytes.slice(static_cast<size_t>(count), bytes.size());
        return true;
    }
    if (errno == EPIPE || errno == ECONNRESET) {
        throw BrokenConnection{"the daemon has closed it", !m_hasSent};
    }
    if (errno != EAGAIN && errno != EINTR) {
        throw BrokenConnection{std::strerror(errno)};
    }
    return false;
}

void ClientSocket::waitUntilSendable() {
    wait(POLLOUT);
}

size_t ClientSocket::tryRead(void* buffer, size_t minBytes, size_t maxBytes) {
    size_t size = 0;
    while (size < minBytes) {
        const ssize_t count = m_socket.receive(static_cast<char*>(buffer) + size, maxBytes - size);
        if (count > 0) {
            size += static_cast<size_t>(count);
        } else if (count == 0 || errno == ECONNRESET) {
            throw BrokenConnection{"the daemon has closed it"};
        } else if (errno == EBADMSG) {
            throw BrokenConnection{"the daemon has sent descriptors, which nobody asked for"};
        } else if (errno != EAGAIN && errno != EINTR) {
            throw BrokenConnection{std::strerror(errno)};
        } else {
            wait(POLLIN);
        }
    }
    return size;
}

kj::Own<capnp::MessageReader> ClientSocket::receive() {
    m_patience.beginWait();
    auto message = kj::heap<capnp::InputStreamMessageReader>(m_buffered, readerOptions());
    // Segments are read on demand: read them all, so that the next message follows.
    for (unsigned i = 0; message->getSegment(i) != nullptr; ++i) {
    }
    return message;
}

}  // namespace OpenWBEM
