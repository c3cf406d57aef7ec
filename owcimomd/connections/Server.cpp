// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/Server.hpp"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "blocxx/Format.hpp"
#include "owcimomd/process/Account.hpp"
#include "owcimomd/process/Log.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr int BACKLOG = 1024;
/// Whoever may connect is told by the peer's credentials, not by the mode.
constexpr mode_t SOCKET_MODE = 0666;

/// Descriptors that are not for clients: files, the loop's own.
constexpr rlim_t OWN_DESCRIPTORS = 64;
constexpr rlim_t MAX_DESCRIPTORS = 4096;

/// Events after which the loop looks for what the other clients have sent, while one of them keeps
/// it busy.
constexpr unsigned EVENTS_BETWEEN_POLLS = 8;

constexpr auto PAUSE_AFTER_FAILURE = 100 * kj::MILLISECONDS;

/// As many clients as descriptors allow, `others` of which are for clients of another kind.
size_t raiseClientLimit(size_t others) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return OWN_DESCRIPTORS;
    }
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, MAX_DESCRIPTORS));
    setrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t usable = std::min(limit.rlim_cur, MAX_DESCRIPTORS);
    const rlim_t taken = OWN_DESCRIPTORS + others;
    return usable > 2 * taken ? usable - taken : usable / 2;
}

[[noreturn]] void fail(const String& path, const char* reason) {
    BLOCXX_THROW(blocxx::Exception, Format("cannot listen on the socket \"%1\": %2", path, reason));
}

int newSocket(const String& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        fail(path, std::strerror(errno));
    }
    return fd;
}

/// Returns the socket.
int listenAt(int fd, const String& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        fail(path, "the path is too long for a socket");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        fail(path, std::strerror(errno));
    }
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(path.c_str(), SOCKET_MODE) != 0 || ::listen(fd, BACKLOG) != 0) {
        fail(path, std::strerror(errno));
    }
    return fd;
}

/// The user who connected. Throws kj::Exception.
User peerOf(int fd) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        failCall("getsockopt");
    }
    return {credentials.uid, userName(credentials.uid)};
}

}  // namespace

// The options of the listening socket are those of the connections to it, so they are set before it
// listens.
Server::Server(kj::AsyncIoContext& io, const String& socketPath, Operations& operations,
               RequestBudget& budget, size_t otherClients)
    : m_io(io),
      m_path(socketPath),
      m_operations(operations),
      m_listening(newSocket(socketPath)),
      m_observer(io.unixEventPort, listenAt(m_listening.fd(), socketPath),
                 kj::UnixEventPort::FdObserver::OBSERVE_READ),
      m_quota(raiseClientLimit(otherClients)),
      m_budget(budget),
      m_sessions(*this) {
    io.waitScope.setBusyPollInterval(EVENTS_BETWEEN_POLLS);
}

Server::~Server() noexcept {
    ::unlink(m_path.c_str());
}

void Server::run(const std::function<void()>& onHangUp) {
    kj::Promise<void> accepting = acceptOneAfterAnother().eagerlyEvaluate(nullptr);
    kj::Promise<void> hangingUp = awaitHangUps(onHangUp).eagerlyEvaluate(nullptr);
    m_io.unixEventPort.onSignal(SIGTERM)
        .exclusiveJoin(m_io.unixEventPort.onSignal(SIGINT))
        .wait(m_io.waitScope);
}

kj::Promise<void> Server::awaitHangUps(const std::function<void()>& onHangUp) {
    return m_io.unixEventPort.onSignal(SIGHUP).then([this, &onHangUp](auto&&) {
        onHangUp();
        return awaitHangUps(onHangUp);
    });
}

/// Whatever happens to one client, the next one is accepted.
kj::Promise<void> Server::acceptOneAfterAnother() {
    return kj::evalNow([this] { return accept(); })
        .catch_([this](kj::Exception&& e) {
            m_notAccepted.error(
                Format("a client could not connect: %1", e.getDescription().cStr()));
            return m_io.provider->getTimer().afterDelay(PAUSE_AFTER_FAILURE);
        })
        .then([this] { return acceptOneAfterAnother(); });
}

/// Accepts a client, or waits until there is one.
kj::Promise<void> Server::accept() {
    const int fd = ::accept4(m_listening.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd >= 0) {
        auto client = kj::heap<PeerSocket>(m_io.unixEventPort, fd);
        serve(kj::mv(client), peerOf(fd));
    } else if (errno == EAGAIN) {
        return m_observer.whenBecomesReadable();
    } else if (errno != EINTR && errno != ECONNABORTED) {
        failCall("accept4");
    }
    return kj::READY_NOW;
}

void Server::serve(kj::Own<PeerSocket> client, const User& user) {
    auto slot = m_quota.take(user, !m_operations.access().mayConnect(user));
    if (!slot) {
        m_sentAway.error(Format(
            "the user with the id %1 is sent away: there are too many connections", user.uid));
        return;
    }
    auto session = kj::heap<ClientSession>(kj::mv(client), m_operations, user, m_budget);
    auto end = session->run();
    m_sessions.add(end.attach(kj::mv(session), kj::mv(slot)));
}

void Server::taskFailed(kj::Exception&& exception) {
    report(blocxx::ELogLevel::DEBUG,
           Format("a connection failed: %1", exception.getDescription().cStr()));
}

}  // namespace OwCimomd
