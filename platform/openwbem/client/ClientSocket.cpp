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
using blocxx::Timeout;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char* REMEDY =
    "is it running? Start it with \"/opt/tarvo/kov/sbin/tarvo-owcimomd_init start\"";

/// How often a wait for a full queue checks whether the run was interrupted.
constexpr Timeout LOOK_AROUND = Timeout::relative(std::chrono::seconds(1));

[[noreturn]] void failToReach(const String& path, const char* reason) {
    OPENWBEM_THROW_CIM(
        FAILED, Format("owcimomd cannot be reached at \"%1\": %2; %3", path, reason, REMEDY));
}

void limitConnecting(int fd, const Timeout& timeout) {
    using std::chrono::duration_cast;
    const auto seconds = duration_cast<std::chrono::seconds>(timeout.time());
    const auto rest = duration_cast<std::chrono::microseconds>(timeout.time() - seconds);
    const timeval limit{seconds.count(), std::max<suseconds_t>(rest.count(), 1)};
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

int newSocket(const String& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        failToReach(path, std::strerror(errno));
    }
    return fd;
}

void connectTo(int fd, const String& path, const Timeout& timeout) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        failToReach(path, "the path is too long for a socket");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    limitConnecting(fd, timeout.isInfinite() ? LOOK_AROUND : timeout);
    const auto isToGoOn = [&] {
        return errno == EINTR ||
               (errno == EAGAIN && timeout.isInfinite() && !blocxx::Interruption::isPending());
    };
    int rc = 0;
    do {
        rc = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (rc != 0 && isToGoOn());
    if (rc != 0) {
        const int error = errno;
        blocxx::Interruption::check();
        failToReach(path, error == EAGAIN ? "it does not answer" : std::strerror(error));
    }
}

capnp::ReaderOptions readerOptions() {
    capnp::ReaderOptions options;
    options.traversalLimitInWords = RpcLimits::MAX_WORDS;
    options.nestingLimit = RpcLimits::NESTING;
    return options;
}

}  // namespace

ClientSocket::ClientSocket(const String& path, const Timeout& timeout)
    : m_socket(newSocket(path)), m_timeout(timeout), m_buffered(*this) {
    connectTo(m_socket.fd(), path, timeout);
}

void ClientSocket::wait(short events) {
    pollfd waiting[]{{m_socket.fd(), events, 0}, {blocxx::Interruption::descriptor(), POLLIN, 0}};
    const auto deadline =
        m_timeout.isInfinite() ? Clock::time_point::max() : Clock::now() + m_timeout.time();
    while (true) {
        int limit = -1;
        if (!m_timeout.isInfinite()) {
            using std::chrono::milliseconds;
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            limit = static_cast<int>(std::clamp<int64_t>(left.count(), 0, 86400000));
        }
        const int rc = ::poll(waiting, 2, limit);
        blocxx::Interruption::check();
        if (rc > 0) {
            return;
        }
        if (rc == 0 && Clock::now() >= deadline) {
            throw BrokenConnection{"no reply came in time", false};
        }
        if (rc < 0 && errno != EINTR) {
            throw BrokenConnection{std::strerror(errno), false};
        }
    }
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
        throw BrokenConnection{std::strerror(errno), false};
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
            throw BrokenConnection{"the daemon has closed it", false};
        } else if (errno == EBADMSG) {
            throw BrokenConnection{"the daemon has sent descriptors, which nobody asked for",
                                   false};
        } else if (errno != EAGAIN && errno != EINTR) {
            throw BrokenConnection{std::strerror(errno), false};
        } else {
            wait(POLLIN);
        }
    }
    return size;
}

kj::Own<capnp::MessageReader> ClientSocket::receive() {
    auto message = kj::heap<capnp::InputStreamMessageReader>(m_buffered, readerOptions());
    // Segments are read on demand: read them all, so that the next message follows.
    for (unsigned i = 0; message->getSegment(i) != nullptr; ++i) {
    }
    return message;
}

}  // namespace OpenWBEM
