// SPDX-License-Identifier: Apache-2.0
//
// Takes one HTTP request (RFC 9110, RFC 9112) apart as its bytes arrive. Does no I/O.
#pragma once

#include <map>
#include <memory>
#include <string_view>

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;

/// The request line and the header fields.
struct HttpRequest {
    String method;
    String target;
    bool isVersion11 = false;
    /// Whether the client may send another request on the connection.
    bool keepsAlive = false;
    /// By their names in lower case. A field that came several times has its values in one, with
    /// commas (RFC 9110 5.3).
    std::map<String, String> fields;

    /// The value; empty for a field that is not there.
    String field(const String& name) const;
    bool has(const String& name) const { return fields.count(name) != 0; }
    /// Whether the client waits to be told to send the body (RFC 9110 10.1.1).
    bool expectsContinue() const;
};

class HttpParser {
public:
    /// Of the request line with all header fields, in bytes.
    static constexpr unsigned MAX_HEADER = 16384;

    enum class State : uint8_t {
        HEADER,      ///< more bytes are needed
        HAS_HEADER,  ///< request() is complete; to be continued with readBody()
        BODY,        ///< more bytes are needed
        DONE,
        FAILED
    };

    HttpParser();
    ~HttpParser();
    HttpParser(const HttpParser&) = delete;
    HttpParser& operator=(const HttpParser&) = delete;

    /// Takes the bytes that belong to the part of the request that is being read and returns their
    /// number. The others must come again, with more behind them.
    size_t put(std::string_view bytes);
    State state() const noexcept { return m_state; }
    /// The HTTP status that answers a request that has FAILED.
    unsigned failure() const noexcept { return m_failure; }

    const HttpRequest& request() const noexcept { return m_request; }
    /// The announced size of the body; `limit` when it comes in chunks.
    size_t bodySize(size_t limit) const;
    bool hasBody() const;
    /// Lets put() take the body, of at most `limit` bytes.
    void readBody(size_t limit);
    /// Makes the request one that has FAILED with this HTTP status.
    void refuse(unsigned status);
    /// The body of a request that is DONE.
    String takeBody();

private:
    struct Implementation;
    void takeHeader();

    std::unique_ptr<Implementation> m_parser;
    State m_state = State::HEADER;
    unsigned m_failure = 0;
    HttpRequest m_request;
};

}  // namespace OwCimomd
