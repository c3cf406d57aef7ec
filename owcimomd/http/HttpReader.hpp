// SPDX-License-Identifier: Apache-2.0
//
// Reads the requests of one client from its connection, one after the other, within time limits.
#pragma once

#include <kj/async-io.h>
#include <kj/timer.h>

#include "owcimomd/http/HttpParser.hpp"

namespace OwCimomd {

class HttpReader {
public:
    HttpReader(kj::AsyncInputStream& input, kj::Timer& timer) : m_input(input), m_timer(timer) {}
    KJ_DISALLOW_COPY(HttpReader);

    /// Reads the header of the next request, which must begin within `patience` and be there
    /// HEADER_TIME later. Null at the end of the connection; otherwise a parser that HAS_HEADER or
    /// has FAILED, which lives until the next call. Fails for a client that is too slow.
    kj::Promise<HttpParser*> next(kj::Duration patience);
    /// Reads the body of at most `limit` bytes within BODY_TIME. Then the parser is DONE or has
    /// FAILED.
    kj::Promise<void> readBody(size_t limit);

    /// Reads what the client still sends, for a while: closing a connection before would make it
    /// lose the response to a request that it is in the midst of sending.
    kj::Promise<void> discard();

    static constexpr kj::Duration HEADER_TIME = 10 * kj::SECONDS;
    static constexpr kj::Duration BODY_TIME = 60 * kj::SECONDS;
    static constexpr kj::Duration DISCARD_TIME = 2 * kj::SECONDS;
    static constexpr size_t MAX_DISCARDED = size_t(32) << 20U;

private:
    kj::Promise<void> readOn(HttpParser::State state);
    kj::Promise<bool> fill();
    kj::Promise<void> discardOn(size_t discarded);
    void parse();

    kj::AsyncInputStream& m_input;
    kj::Timer& m_timer;
    std::unique_ptr<HttpParser> m_parser;
    String m_buffer;  // received and not yet parsed
};

}  // namespace OwCimomd
