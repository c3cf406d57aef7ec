// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/HttpServer.hpp"

#include <map>

#include "blocxx/Format.hpp"
#include "owcimomd/http/SocketAddress.hpp"
#include "owcimomd/process/Log.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr auto PAUSE_AFTER_FAILURE = 100 * kj::MILLISECONDS;

String peerOf(kj::AsyncIoStream& stream) {
    SocketAddress address{};
    kj::uint size = sizeof address;
    stream.getpeername(&address.any, &size);
    return address.toString();
}

}  // namespace

HttpServer::HttpServer(kj::AsyncIoContext& io, const HttpSettings& settings, Operations& operations,
                       RequestBudget& budget)
    : m_timer(io.provider->getTimer()),
      m_authenticator(settings.passwordFile),
      m_contexts(m_timer, budget),
      m_turns(m_timer),
      m_places(MAX_OF_USER),
      m_refusals(Audit::MAX_FAILURES),
      m_surroundings{operations, budget,  m_authenticator, m_contexts,
                     m_timer,    m_turns, m_places,        m_refusals},
      m_tls(tlsOf(settings, m_timer)),
      m_receiver(listenAt(io, settings)),
      m_tasks(*this) {
    m_tasks.add(acceptOneAfterAnother());
}

/// Whatever happens to one client, the next one is accepted.
kj::Promise<void> HttpServer::acceptOneAfterAnother() {
    return kj::evalNow([this] { return m_receiver->accept(); })
        .then([this](kj::Own<kj::AsyncIoStream> stream) { serve(kj::mv(stream)); })
        .catch_([this](kj::Exception&& e) {
            m_notAccepted.error(
                Format("a client could not connect over HTTP: %1", e.getDescription().cStr()));
            return m_timer.afterDelay(PAUSE_AFTER_FAILURE);
        })
        .then([this] { return acceptOneAfterAnother(); });
}

/// False when everybody has said who they are. The oldest stranger goes at the address that has
/// most of them: a flood from one address does not wash away who comes from another.
bool HttpServer::makeRoom() {
    const auto isStranger = [](Connection& connection) {
        return connection.end->isWaiting() &&
               (connection.session == nullptr || !connection.session->isUser());
    };
    std::map<String, size_t> strangers;
    Connection* goes = nullptr;
    size_t most = 0;
    // The newest comes first, so that the oldest of an address is what stays.
    for (auto at = m_connections.rbegin(); at != m_connections.rend(); ++at) {
        if (isStranger(*at) && ++strangers[at->address] >= most) {
            most = strangers[at->address];
            goes = &*at;
        }
    }
    if (goes == nullptr) {
        return false;
    }
    goes->end->fulfill();
    return true;
}

void HttpServer::serve(kj::Own<kj::AsyncIoStream> stream) {
    if (m_connections.size() >= MAX_CONNECTIONS && !makeRoom()) {
        m_notAccepted.error("a client is sent away: there are too many connections over HTTP");
        return;
    }
    auto end = kj::newPromiseAndFulfiller<void>();
    const auto at = m_connections.insert(m_connections.end(),
                                         {peerOf(*stream), nullptr, kj::mv(end.fulfiller)});
    auto forget = kj::defer([this, at] { m_connections.erase(at); });
    m_tasks.add(serveSecured(kj::mv(stream), *at)
                    .exclusiveJoin(kj::mv(end.promise))
                    .attach(kj::mv(forget)));
}

kj::Promise<void> HttpServer::serveSecured(kj::Own<kj::AsyncIoStream> stream,
                                           Connection& connection) {
    auto secured = m_tls ? m_tls->wrapServer(kj::mv(stream))
                         : kj::Promise<kj::Own<kj::AsyncIoStream>>(kj::mv(stream));
    return secured.then([this, &connection](kj::Own<kj::AsyncIoStream> ready) {
        auto session = kj::heap<HttpSession>(kj::mv(ready), m_surroundings, connection.address);
        connection.session = session.get();
        auto serving = session->run();
        return serving.attach(kj::mv(session));
    });
}

void HttpServer::taskFailed(kj::Exception&& exception) {
    report(blocxx::ELogLevel::DEBUG,
           Format("a connection over HTTP failed: %1", exception.getDescription().cStr()));
}

}  // namespace OwCimomd
