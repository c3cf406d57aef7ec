// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/HttpSession.hpp"

#include <kj/debug.h>

#include <algorithm>

#include "blocxx/Format.hpp"
#include "openwbem/cimxml/Limits.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr const char* CHALLENGE = "Basic realm=\"owcimomd\", charset=\"UTF-8\"";
/// Larger ones would keep other clients waiting while they are read: what costs most takes some 60
/// milliseconds.
constexpr size_t LARGEST_MESSAGE = size_t(1) << 20U;

HttpRefusal refusalOf(const CIMXML::RequestException& e) {
    using Fault = CIMXML::RequestException::Fault;
    switch (e.fault()) {
        case Fault::TOO_LARGE:
            return {413, e.getMessage()};
        case Fault::NOT_WELL_FORMED:
        case Fault::NOT_VALID:
            return {400, e.getMessage(), e.cimError()};
        default:
            return {501, e.getMessage(), e.cimError()};
    }
}

size_t largestMessage(const RequestBudget& budget) {
    static_assert(LARGEST_MESSAGE <= CIMXML::Limits::MAX_DOCUMENT_SIZE);
    return std::min(budget.maxRequest(), LARGEST_MESSAGE);
}

}  // namespace

HttpSession::HttpSession(kj::Own<kj::AsyncIoStream> stream, HttpSurroundings& surroundings,
                         String address)
    : m_stream(kj::mv(stream)),
      m_surroundings(surroundings),
      m_address(std::move(address)),
      m_reader(*m_stream, surroundings.timer),
      m_writer(*m_stream, surroundings.timer) {}

/// After each request the other clients are served.
kj::Promise<void> HttpSession::run() {
    return m_reader.next(isUser() ? USERS_PATIENCE : STRANGERS_PATIENCE)
        .then([this](HttpParser* parser) -> kj::Promise<void> {
            if (parser == nullptr) {
                return kj::READY_NOW;
            }
            m_parser = parser;
            m_isLast = parser->state() == HttpParser::State::FAILED || !request().keepsAlive;
            return answer().then([this]() -> kj::Promise<void> {
                m_share = nullptr;
                m_responder = nullptr;
                if (m_isLast) {
                    m_stream->shutdownWrite();
                    return m_reader.discard();
                }
                return kj::evalLater([this] { return run(); });
            });
        });
}

kj::Promise<void> HttpSession::refuse(HttpRefusal refusal) {
    // What the client sends of a body that nobody reads would pass for the next request.
    m_isLast = m_isLast || m_parser->state() != HttpParser::State::DONE;
    HttpResponse response{refusal.status, std::move(refusal.fields)};
    if (!refusal.cimError.empty()) {
        response.fields.emplace_back("CIMError", refusal.cimError);
    }
    response.fields.emplace_back("Content-Type", "text/plain; charset=utf-8");
    response.body = refusal.text + "\n";
    response.isLast = m_isLast;
    return m_writer.send(response);
}

kj::Promise<void> HttpSession::answer() {
    if (m_parser->state() == HttpParser::State::FAILED) {
        return refuse({m_parser->failure(), "The request cannot be read."});
    }
    if (request().method == "OPTIONS") {
        m_isLast = m_isLast || m_parser->hasBody();
        return m_writer.send({200, CIMHeaders::optionsFields(), {}, m_isLast});
    }
    if (request().method != "POST" && request().method != "M-POST") {
        return refuse({405,
                       "Only POST, M-POST and OPTIONS are served.",
                       {},
                       {{"Allow", "OPTIONS, POST, M-POST"}}});
    }
    return authenticate();
}

kj::Promise<void> HttpSession::authenticate() {
    const String authorization = request().field("authorization");
    String stamp = m_surroundings.authenticator.stamp();
    if (m_user && authorization == m_authorization && stamp == m_stamp) {
        return readMessage();
    }
    m_user.reset();
    m_place = nullptr;
    auto credential = Credential::parse(authorization);
    if (!credential) {
        return challenge(Authenticator::Verdict::WRONG, {});
    }
    const String name = credential->user;
    return m_surroundings.authenticator.check(std::move(*credential), m_address)
        .then([this, name, authorization, stamp](kj::Own<Authenticator::Outcome> outcome) {
            if (outcome->verdict != Authenticator::Verdict::RIGHT) {
                return challenge(outcome->verdict, name);
            }
            m_place = m_surroundings.places.take(outcome->user.uid, 1);
            if (!m_place) {
                return refuse(
                    {503, "This user has too many connections.", {}, {{"Retry-After", "1"}}});
            }
            m_user = std::move(outcome->user);
            m_authorization = authorization;
            m_stamp = stamp;
            return readMessage();
        });
}

kj::Promise<void> HttpSession::challenge(Authenticator::Verdict verdict, const String& user) {
    if (!user.empty()) {
        m_surroundings.refusals.log(
            blocxx::ELogLevel::INFO,
            Format("audit: refused user=%1 address=%2 operation=login", inQuotes(user), m_address));
    }
    if (verdict == Authenticator::Verdict::TOO_MANY) {
        return refuse({503,
                       "There were too many wrong passwords, or too many wait to be checked. "
                       "Try again in a minute.",
                       {},
                       {{"Retry-After", "60"}}});
    }
    return refuse({401,
                   "A user and a password are needed that owpasswd has registered.",
                   {},
                   {{"WWW-Authenticate", CHALLENGE}}});
}

kj::Promise<void> HttpSession::readMessage() {
    auto headers = CIMHeaders::read(request());
    if (auto* refusal = std::get_if<HttpRefusal>(&headers)) {
        return refuse(std::move(*refusal));
    }
    m_headers = std::get<CIMHeaders>(headers);
    const size_t limit = largestMessage(m_surroundings.budget);
    const size_t size = m_parser->bodySize(limit);
    if (size > limit) {
        return refuse({413, Format("A request has at most %1 bytes.", limit)});
    }
    m_share = m_surroundings.budget.take(m_user->uid, size);
    if (!m_share) {
        return refuse({503,
                       "The requests of this user that are under way are too large together.",
                       {},
                       {{"Retry-After", "1"}}});
    }
    auto ready =
        request().expectsContinue() ? m_writer.sendContinue() : kj::Promise<void>(kj::READY_NOW);
    return ready.then([this, limit] { return m_reader.readBody(limit); }).then([this] {
        if (m_parser->state() == HttpParser::State::FAILED) {
            return refuse({m_parser->failure(), "The content cannot be read."});
        }
        return m_surroundings.turns.take().then([this] { return carryOut(m_parser->takeBody()); });
    });
}

kj::Promise<void> HttpSession::carryOut(const String& document) {
    try {
        auto message = CIMXML::Request::parse(document);
        if (auto refusal = m_headers.mismatch(message)) {
            return refuse(std::move(*refusal));
        }
        m_responder = std::make_unique<CIMResponder>(
            m_surroundings.operations, m_surroundings.contexts, *m_user, request().field("host"));
        return send(m_responder->answer(std::move(message), document.size()));
    } catch (const CIMXML::RequestException& e) {
        return refuse(refusalOf(e));
    }
}

kj::Promise<void> HttpSession::send(CIMReply reply) {
    HttpResponse response{200, m_headers.responseFields(), {}, m_isLast};
    if (!reply.rest) {
        response.body = std::move(reply.text);
        return m_writer.send(response);
    }
    const bool inChunks = request().isVersion11;
    m_isLast = m_isLast || !inChunks;
    response.isLast = m_isLast;
    if (inChunks && m_headers.takesTrailers()) {
        response.fields.emplace_back("Trailer", "CIMStatusCode, CIMStatusCodeDescription");
    }
    m_reply = std::move(reply);
    return m_writer.begin(response, inChunks).then([this] { return sendMore(); });
}

kj::Promise<void> HttpSession::sendMore() {
    return m_writer.piece(std::exchange(m_reply.text, String()))
        .then([this]() -> kj::Promise<void> {
            if (!m_reply.rest) {
                return m_writer.end();
            }
            return m_surroundings.turns.take().then([this]() -> kj::Promise<void> {
                try {
                    m_responder->writeMore(m_reply);
                } catch (const OpenWBEM::CIMException& e) {
                    m_reply = {};
                    if (!m_headers.takesTrailers()) {
                        // A response that ends in its midst is the only way to tell.
                        kj::throwFatalException(
                            KJ_EXCEPTION(FAILED, "an enumeration failed half way", e.getMessage()));
                    }
                    return m_writer.end({{"CIMStatusCode", std::to_string(e.getErrNo())},
                                         {"CIMStatusCodeDescription", escaped(e.getMessage())}});
                }
                return sendMore();
            });
        });
}

}  // namespace OwCimomd
