// SPDX-License-Identifier: Apache-2.0
//
// One client's connection over HTTP. Requests are answered one after another. Nothing but a header
// is read from a client until it has said who it is.
#pragma once

#include "owcimomd/http/Authenticator.hpp"
#include "owcimomd/http/CIMHeaders.hpp"
#include "owcimomd/http/CIMResponder.hpp"
#include "owcimomd/http/HttpReader.hpp"
#include "owcimomd/http/HttpWriter.hpp"
#include "owcimomd/http/Turns.hpp"

namespace OwCimomd {

/// What all connections share.
struct HttpSurroundings {
    Operations& operations;
    RequestBudget& budget;
    Authenticator& authenticator;
    PullContexts& contexts;
    kj::Timer& timer;
    Turns& turns;
    /// Connections that each user has. They are counted as bytes of requests are.
    RequestBudget& places;
    /// Who was refused: as many a minute as the audit's limit.
    RareReport& refusals;
};

class HttpSession {
public:
    /// Of a client that has not said who it is, and of one that has.
    static constexpr kj::Duration STRANGERS_PATIENCE = 10 * kj::SECONDS;
    static constexpr kj::Duration USERS_PATIENCE = 120 * kj::SECONDS;

    /// `address`: the client's.
    HttpSession(kj::Own<kj::AsyncIoStream> stream, HttpSurroundings& surroundings, String address);
    KJ_DISALLOW_COPY(HttpSession);

    /// Serves the client. Done when the connection is to be closed; fails with the connection.
    kj::Promise<void> run();
    /// Whether the client has said who it is.
    bool isUser() const noexcept { return m_user.has_value(); }

private:
    kj::Promise<void> answer();
    kj::Promise<void> refuse(HttpRefusal refusal);
    kj::Promise<void> authenticate();
    kj::Promise<void> challenge(Authenticator::Verdict verdict, const String& user);
    kj::Promise<void> readMessage();
    kj::Promise<void> carryOut(const String& document);
    kj::Promise<void> send(CIMReply reply);
    kj::Promise<void> sendMore();

    const HttpRequest& request() const { return m_parser->request(); }

    kj::Own<kj::AsyncIoStream> m_stream;
    HttpSurroundings& m_surroundings;
    String m_address;
    HttpReader m_reader;
    HttpWriter m_writer;
    HttpParser* m_parser = nullptr;

    // Who the client is, since it sent this field, for as long as the password file stays the same.
    std::optional<User> m_user;
    RequestBudget::Share m_place;
    String m_authorization;
    String m_stamp;

    // Of the request that is being answered.
    CIMHeaders m_headers;
    bool m_isLast = false;
    RequestBudget::Share m_share;
    std::unique_ptr<CIMResponder> m_responder;
    CIMReply m_reply;
};

}  // namespace OwCimomd
