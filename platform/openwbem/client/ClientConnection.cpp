// SPDX-License-Identifier: Apache-2.0
#include "openwbem/client/ClientConnection.hpp"

#include <capnp/rpc-twoparty.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "blocxx/Format.hpp"
#include "openwbem/client/ClientLoop.hpp"
#include "openwbem/wire/RpcLimits.hpp"

namespace OpenWBEM {

using blocxx::Format;
using blocxx::Timeout;

namespace {

constexpr const char* REMEDY =
    "is it running? Start it with \"/opt/tarvo/kov/sbin/tarvo-owcimomd_init start\"";

[[noreturn]] void failToReach(const String& path, const char* reason) {
    OPENWBEM_THROW_CIM(
        FAILED, Format("owcimomd cannot be reached at \"%1\": %2; %3", path, reason, REMEDY));
}

/// A connected socket. Connecting blocks for as long as the daemon's queue is full.
int connectedSocket(const String& path, const Timeout& timeout) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        failToReach(path, "the path is too long for a socket");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        failToReach(path, std::strerror(errno));
    }
    if (!timeout.isInfinite()) {
        using std::chrono::duration_cast;
        const auto seconds = duration_cast<std::chrono::seconds>(timeout.time());
        const auto rest = duration_cast<std::chrono::microseconds>(timeout.time() - seconds);
        const timeval limit{seconds.count(), std::max<suseconds_t>(rest.count(), 1)};
        ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    }
    int rc = 0;
    do {
        rc = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) {
        const int error = errno;
        ::close(fd);
        failToReach(path, error == EAGAIN ? "it does not answer" : std::strerror(error));
    }
    return fd;
}

capnp::ReaderOptions readerOptions() {
    capnp::ReaderOptions options;
    options.traversalLimitInWords = RpcLimits::MAX_WORDS;
    options.nestingLimit = RpcLimits::NESTING;
    return options;
}

void setText(const String& text, auto setter) {
    if (!text.empty()) {
        setter(capnp::Text::Reader(text.data(), text.size()));
    }
}

void fill(wire::Request::Builder out, const ClientCall& call) {
    out.setOperation(call.operation);
    setText(call.ns, [&](auto text) { out.setNameSpace(text); });
    setText(call.name == nullptr ? String() : *call.name, [&](auto text) { out.setName(text); });
    if (!call.object.empty()) {
        out.setObject(kj::arrayPtr(reinterpret_cast<const kj::byte*>(call.object.data()),
                                   call.object.size()));
    }
    out.setDeep(call.deep);
    out.setLocalOnly(call.localOnly);
    out.setIncludeQualifiers(call.includeQualifiers);
    out.setIncludeClassOrigin(call.includeClassOrigin);
    if (call.propertyList != nullptr) {
        out.setHasPropertyList(true);
        auto list = out.initPropertyList(static_cast<unsigned>(call.propertyList->size()));
        for (unsigned i = 0; i < list.size(); ++i) {
            list.set(i, (*call.propertyList)[i]);
        }
    }
    if (call.filter != nullptr) {
        setText(call.filter->assocClass, [&](auto text) { out.setAssocClass(text); });
        setText(call.filter->resultClass, [&](auto text) { out.setResultClass(text); });
        setText(call.filter->role, [&](auto text) { out.setRole(text); });
        setText(call.filter->resultRole, [&](auto text) { out.setResultRole(text); });
    }
}

/// The failure that the daemon tells of becomes the exception that it was there.
void raiseIfFailed(wire::Failure::Reader failure) {
    if (failure.getCode() == 0) {
        return;
    }
    const auto text = failure.getMessage();
    throw CIMException(__FILE__, __LINE__, static_cast<CIMException::ErrNoType>(failure.getCode()),
                       String(text.begin(), text.size()));
}

ClientConnection::Bytes bytesOf(capnp::Data::Reader data) {
    return {reinterpret_cast<const std::byte*>(data.begin()), data.size()};
}

void handOver(wire::Portion::Reader portion,
              const std::function<void(ClientConnection::Bytes)>& visit) {
    for (const auto object : portion.getObjects()) {
        visit(bytesOf(object));
    }
}

}  // namespace

class ClientConnection::Session {
public:
    Session(const String& path, const Timeout& timeout)
        : m_loop(ClientLoop::ofThisThread()),
          m_stream(m_loop->io().lowLevelProvider->wrapSocketFd(
              connectedSocket(path, timeout), kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP |
                                                  kj::LowLevelAsyncIoProvider::ALREADY_CLOEXEC)),
          m_network(*m_stream, capnp::rpc::twoparty::Side::CLIENT, readerOptions()),
          m_rpc(capnp::makeRpcClient(m_network)),
          m_manager(bootstrap()),
          m_gone(m_network.onDisconnect()
                     .then([this] { m_isGone = true; }, [this](auto&&) { m_isGone = true; })
                     .eagerlyEvaluate(nullptr)) {}

    wire::ObjectManager::Client& manager() noexcept { return m_manager; }

    /// Lets the loop do what can be done without waiting.
    void poll() { m_loop->io().waitScope.poll(); }

    bool isGone() {
        poll();
        return m_isGone;
    }

    template <class Promise>
    auto await(Promise promise, const Timeout& timeout) {
        kj::AsyncIoContext& io = m_loop->io();
        if (timeout.isInfinite()) {
            return promise.wait(io.waitScope);
        }
        return io.provider->getTimer()
            .timeoutAfter(timeout.time().count() * kj::MILLISECONDS, kj::mv(promise))
            .wait(io.waitScope);
    }

private:
    wire::ObjectManager::Client bootstrap() {
        capnp::MallocMessageBuilder message;
        auto id = message.initRoot<capnp::rpc::twoparty::VatId>();
        id.setSide(capnp::rpc::twoparty::Side::SERVER);
        return m_rpc.bootstrap(id).castAs<wire::ObjectManager>();
    }

    std::shared_ptr<ClientLoop> m_loop;
    bool m_isGone = false;
    kj::Own<kj::AsyncIoStream> m_stream;
    capnp::TwoPartyVatNetwork m_network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> m_rpc;
    wire::ObjectManager::Client m_manager;
    kj::Promise<void> m_gone;
};

ClientConnection::ClientConnection(String socketPath) : m_path(std::move(socketPath)) {}

ClientConnection::~ClientConnection() {
    const BrokenPipesIgnored guard;
    try {
        m_session.reset();
    } catch (...) {  // NOLINT(bugprone-empty-catch): there is nothing left to be done with it
    }
}

std::shared_ptr<ClientConnection::Session> ClientConnection::session(const Timeout& timeout) {
    if (m_session && m_session->isGone()) {
        m_session.reset();
    }
    if (!m_session) {
        m_session = std::make_shared<Session>(m_path, timeout);
    }
    return m_session;
}

void ClientConnection::fail(const char* reason) {
    m_session.reset();
    OPENWBEM_THROW_CIM(FAILED, Format("The connection to owcimomd at \"%1\" failed: %2. Whether "
                                      "the operation was carried out is not known",
                                      m_path, reason));
}

/// Runs `action`; what KJ throws becomes ours.
template <class Action>
auto ClientConnection::guarded(Action action) {
    const BrokenPipesIgnored guard;
    try {
        return action();
    } catch (const kj::Exception& e) {
        switch (e.getType()) {
            case kj::Exception::Type::OVERLOADED:
                fail("no reply came in time");
            case kj::Exception::Type::DISCONNECTED:
                fail("the daemon has closed it");
            default:
                fail(e.getDescription().cStr());
        }
    }
}

void ClientConnection::ping(const Timeout& timeout) {
    guarded([&] {
        const auto current = session(timeout);
        current->await(current->manager().pingRequest().send(), timeout);
    });
}

String ClientConnection::carryOut(const ClientCall& call, const Timeout& timeout) {
    return guarded([&] {
        const auto current = session(timeout);
        auto request = current->manager().carryOutRequest();
        fill(request.initRequest(), call);
        const auto response = current->await(request.send(), timeout);
        raiseIfFailed(response.getFailure());
        const auto object = response.getObject();
        return String(reinterpret_cast<const char*>(object.begin()), object.size());
    });
}

// While the caller looks at one portion the next one is on its way, and no more than that.
void ClientConnection::enumerate(const ClientCall& call, const Timeout& timeout,
                                 const std::function<void(Bytes)>& visit) {
    guarded([&] {
        const auto current = session(timeout);
        auto request = current->manager().enumerateRequest();
        fill(request.initRequest(), call);
        const auto first = current->await(request.send(), timeout);
        raiseIfFailed(first.getFailure());
        wire::Cursor::Client rest = first.getRest();
        kj::Maybe<capnp::RemotePromise<wire::Cursor::NextResults>> ahead;
        const auto ask = [&](wire::Portion::Reader portion) {
            ahead = nullptr;
            if (!portion.getIsLast()) {
                ahead = rest.nextRequest().send();
                current->poll();
            }
        };
        ask(first.getPortion());
        handOver(first.getPortion(), visit);
        while (true) {
            KJ_IF_MAYBE (promise, ahead) {
                const auto next = current->await(kj::mv(*promise), timeout);
                raiseIfFailed(next.getFailure());
                ask(next.getPortion());
                handOver(next.getPortion(), visit);
            } else {
                return;
            }
        }
    });
}

}  // namespace OpenWBEM
