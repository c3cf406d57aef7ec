// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/HttpParser.hpp"

#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <limits>

namespace OwCimomd {

namespace http = boost::beast::http;

struct HttpParser::Implementation {
    http::request_parser<http::string_body> parser;
};

namespace {

unsigned statusOf(const boost::beast::error_code& error) {
    if (error == http::error::header_limit) {
        return 431;
    }
    if (error == http::error::body_limit) {
        return 413;
    }
    return error == http::error::bad_version ? 505 : 400;
}

}  // namespace

String HttpRequest::field(const String& name) const {
    const auto found = fields.find(name);
    return found == fields.end() ? String() : found->second;
}

bool HttpRequest::expectsContinue() const {
    return isVersion11 && blocxx::equalsIgnoreCase(field("expect"), "100-continue");
}

HttpParser::HttpParser() : m_parser(std::make_unique<Implementation>()) {
    m_parser->parser.header_limit(MAX_HEADER);
    // The body's limit is known once its sender is.
    m_parser->parser.body_limit(std::numeric_limits<uint64_t>::max());
}

HttpParser::~HttpParser() = default;

size_t HttpParser::put(std::string_view bytes) {
    if (m_state != State::HEADER && m_state != State::BODY) {
        return 0;
    }
    size_t taken = 0;
    boost::beast::error_code error;
    while (m_state == State::HEADER || m_state == State::BODY) {
        const auto rest = bytes.substr(taken);
        if (rest.empty()) {
            break;
        }
        const size_t step = m_parser->parser.put(boost::asio::buffer(rest), error);
        taken += step;
        if (error == http::error::need_more) {
            break;
        }
        if (error) {
            refuse(statusOf(error));
        } else if (m_state == State::HEADER && m_parser->parser.is_header_done()) {
            takeHeader();
        } else if (m_parser->parser.is_done()) {
            m_state = State::DONE;
        }
    }
    return taken;
}

void HttpParser::takeHeader() {
    const auto& message = m_parser->parser.get();
    m_request.method = String(message.method_string());
    m_request.target = String(message.target());
    m_request.isVersion11 = message.version() >= 11;
    m_request.keepsAlive = message.keep_alive();
    for (const auto& field : message) {
        String& value = m_request.fields[blocxx::toLower(
            std::string_view(field.name_string().data(), field.name_string().size()))];
        value += (value.empty() ? "" : ", ") + String(field.value());
    }
    // RFC 9112 3.2: otherwise it is not clear whom the request is for.
    if (message.count(http::field::host) > 1 || (m_request.isVersion11 && !m_request.has("host"))) {
        return refuse(400);
    }
    // The end of a body in any other coding is not known, and the rest of it would pass for another
    // request (RFC 9112 6.1).
    if (m_request.has("transfer-encoding") &&
        (!m_request.isVersion11 ||
         !blocxx::equalsIgnoreCase(m_request.field("transfer-encoding"), "chunked"))) {
        return refuse(501);
    }
    m_state = State::HAS_HEADER;
}

bool HttpParser::hasBody() const {
    return m_parser->parser.chunked() || m_parser->parser.content_length().value_or(0) != 0;
}

size_t HttpParser::bodySize(size_t limit) const {
    return m_parser->parser.chunked() ? limit : m_parser->parser.content_length().value_or(0);
}

void HttpParser::readBody(size_t limit) {
    if (bodySize(limit) > limit) {
        return refuse(413);
    }
    m_parser->parser.body_limit(limit);
    m_parser->parser.eager(true);
    m_state = m_parser->parser.is_done() ? State::DONE : State::BODY;
}

String HttpParser::takeBody() {
    return std::move(m_parser->parser.get().body());
}

void HttpParser::refuse(unsigned status) {
    m_failure = status;
    m_state = State::FAILED;
}

}  // namespace OwCimomd
