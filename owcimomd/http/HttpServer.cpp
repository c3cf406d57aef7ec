// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/HttpServer.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "owcimomd/process/Configuration.hpp"
#include "owcimomd/process/Log.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr auto PAUSE_AFTER_FAILURE = 100 * kj::MILLISECONDS;
constexpr auto HANDSHAKE_TIME = 10 * kj::SECONDS;
constexpr size_t MAX_PEM_SIZE = size_t(1) << 20U;

union SocketAddress {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
};

bool isLoopback(const SocketAddress& address) {
    return address.any.sa_family == AF_INET
               ? (ntohl(address.v4.sin_addr.s_addr) >> 24U) == IN_LOOPBACKNET
               : IN6_IS_ADDR_LOOPBACK(&address.v6.sin6_addr);
}

[[noreturn]] void refuse(const String& reason) {
    BLOCXX_THROW(blocxx::Exception, Format("nobody is served over HTTP: %1", reason));
}

SocketAddress addressOf(const HttpSettings& settings) {
    SocketAddress address{};
    if (inet_pton(AF_INET, settings.address.c_str(), &address.v4.sin_addr) == 1) {
        address.v4.sin_family = AF_INET;
        address.v4.sin_port = htons(settings.port);
    } else if (inet_pton(AF_INET6, settings.address.c_str(), &address.v6.sin6_addr) == 1) {
        address.v6.sin6_family = AF_INET6;
        address.v6.sin6_port = htons(settings.port);
    } else {
        refuse(Format("\"%1\" as %2 is not an IP address", settings.address,
                      Configuration::HTTP_ADDRESS));
    }
    if (!isLoopback(address) && settings.certificate.empty()) {
        refuse(Format("the address %1 needs TLS, so %2 and %3 must be set", settings.address,
                      Configuration::TLS_CERTIFICATE, Configuration::TLS_KEY));
    }
    return address;
}

String contentOf(const char* key, const String& path) {
    blocxx::File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    String content;
    if (!file || !blocxx::FileSystem::readAll(file, content, MAX_PEM_SIZE)) {
        refuse(Format("the file \"%1\" (%2) cannot be read: %3", path, key, std::strerror(errno)));
    }
    return content;
}

kj::Own<kj::TlsContext> tlsOf(const HttpSettings& settings, kj::Timer& timer) {
    if (settings.certificate.empty() && settings.key.empty()) {
        return {};
    }
    if (settings.certificate.empty() || settings.key.empty()) {
        refuse(Format("%1 and %2 must be set both or not at all", Configuration::TLS_CERTIFICATE,
                      Configuration::TLS_KEY));
    }
    const String certificate = contentOf(Configuration::TLS_CERTIFICATE, settings.certificate);
    const String key = contentOf(Configuration::TLS_KEY, settings.key);
    try {
        const kj::TlsKeypair keypair{kj::TlsPrivateKey(kj::StringPtr(key.c_str())),
                                     kj::TlsCertificate(kj::StringPtr(certificate.c_str()))};
        kj::TlsContext::Options options;
        options.defaultKeypair = keypair;
        options.useSystemTrustStore = false;
        options.minVersion = kj::TlsVersion::TLS_1_2;
        options.timer = timer;
        options.acceptTimeout = HANDSHAKE_TIME;
        return kj::heap<kj::TlsContext>(kj::mv(options));
    } catch (const kj::Exception& e) {
        refuse(Format("the certificate \"%1\" and the key \"%2\" cannot be used: %3",
                      settings.certificate, settings.key, e.getDescription().cStr()));
    }
}

kj::Own<kj::ConnectionReceiver> listenAt(kj::AsyncIoContext& io, const HttpSettings& settings) {
    const SocketAddress address = addressOf(settings);
    try {
        return io.provider->getNetwork().getSockaddr(&address, sizeof address)->listen();
    } catch (const kj::Exception& e) {
        refuse(Format("it cannot listen at %1, port %2: %3", settings.address, settings.port,
                      e.getDescription().cStr()));
    }
}

String peerOf(kj::AsyncIoStream& stream) {
    SocketAddress address{};
    kj::uint size = sizeof address;
    stream.getpeername(&address.any, &size);
    char text[INET6_ADDRSTRLEN] = "";
    const bool isV4 = address.any.sa_family == AF_INET;
    inet_ntop(address.any.sa_family,
              isV4 ? static_cast<void*>(&address.v4.sin_addr) : &address.v6.sin6_addr, text,
              sizeof text);
    return text;
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
