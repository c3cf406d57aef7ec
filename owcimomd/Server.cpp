// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/Server.hpp"

#include <kj/async-unix.h>
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
#include "owcimomd/Account.hpp"
#include "owcimomd/DaemonException.hpp"
#include "owcimomd/Log.hpp"

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

/// As many clients as descriptors allow.
size_t raiseClientLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return OWN_DESCRIPTORS;
    }
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, MAX_DESCRIPTORS));
    setrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t usable = std::min(limit.rlim_cur, MAX_DESCRIPTORS);
    return usable > 2 * OWN_DESCRIPTORS ? usable - OWN_DESCRIPTORS : usable / 2;
}

[[noreturn]] void fail(const String& path, const char* reason) {
    BLOCXX_THROW(DaemonException, Format("cannot listen on the socket \"%1\": %2", path, reason));
}

int listeningSocket(const String& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        fail(path, "the path is too long for a socket");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        fail(path, std::strerror(errno));
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(path.c_str(), SOCKET_MODE) != 0 || ::listen(fd, BACKLOG) != 0) {
        const int error = errno;
        if (fd >= 0) {
            ::close(fd);
        }
        fail(path, std::strerror(error));
    }
    return fd;
}

}  // namespace

Server::Server(kj::AsyncIoContext& io, const String& socketPath, Operations& operations)
    : m_io(io),
      m_path(socketPath),
      m_operations(operations),
      m_receiver(io.lowLevelProvider->wrapListenSocketFd(
          listeningSocket(socketPath), kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP |
                                           kj::LowLevelAsyncIoProvider::ALREADY_CLOEXEC |
                                           kj::LowLevelAsyncIoProvider::ALREADY_NONBLOCK)),
      m_places(raiseClientLimit()),
      m_sessions(*this) {
    io.waitScope.setBusyPollInterval(EVENTS_BETWEEN_POLLS);
}

Server::~Server() noexcept {
    ::unlink(m_path.c_str());
}

void Server::run() {
    kj::Promise<void> accepting = acceptOneAfterAnother().eagerlyEvaluate(nullptr);
    m_io.unixEventPort.onSignal(SIGTERM)
        .exclusiveJoin(m_io.unixEventPort.onSignal(SIGINT))
        .wait(m_io.waitScope);
}

/// Whatever happens to one client, the next one is accepted. Accepting may fail at once, by an
/// exception, or later, by its promise; both are the same here.
kj::Promise<void> Server::acceptOneAfterAnother() {
    return kj::evalNow([this] { return m_receiver->acceptAuthenticated(); })
        .then([this](kj::AuthenticatedStream&& client) { serve(kj::mv(client)); })
        .catch_([this](kj::Exception&& e) {
            m_notAccepted.error(
                Format("a client could not connect: %1", e.getDescription().cStr()));
            return m_io.provider->getTimer().afterDelay(PAUSE_AFTER_FAILURE);
        })
        .then([this] { return acceptOneAfterAnother(); });
}

void Server::serve(kj::AuthenticatedStream client) {
    auto* identity = dynamic_cast<kj::LocalPeerIdentity*>(client.peerIdentity.get());
    if (identity == nullptr) {
        return;
    }
    User user{static_cast<uid_t>(-1), String()};
    KJ_IF_MAYBE (uid, identity->getCredentials().uid) {
        user.uid = *uid;
        user.name = userName(*uid);
    }
    auto place = m_places.take(user, !m_operations.access().mayConnect(user));
    if (!place) {
        m_sentAway.error(Format(
            "the user with the id %1 is sent away: there are too many connections", user.uid));
        return;
    }
    auto session =
        kj::heap<ClientSession>(kj::mv(client.stream), m_operations, user, m_conversation);
    auto end = session->run();
    m_sessions.add(end.attach(kj::mv(session), kj::mv(place)));
}

void Server::taskFailed(kj::Exception&& exception) {
    report(blocxx::ELogLevel::DEBUG,
           Format("a connection failed: %1", exception.getDescription().cStr()));
}

}  // namespace OwCimomd
