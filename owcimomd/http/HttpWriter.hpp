// SPDX-License-Identifier: Apache-2.0
//
// Writes responses to one client within time limits: as a whole, or in chunks while they grow (RFC
// 9112 7.1).
#pragma once

#include <kj/async-io.h>
#include <kj/timer.h>

#include <utility>

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;

using HttpFields = blocxx::Array<std::pair<String, String>>;

struct HttpResponse {
    unsigned status = 200;
    HttpFields fields{};
    String body{};
    /// Whether the connection ends with the response.
    bool isLast = false;
};

class HttpWriter {
public:
    /// How long a client may take to receive a piece.
    static constexpr kj::Duration PIECE_TIME = 60 * kj::SECONDS;

    HttpWriter(kj::AsyncOutputStream& output, kj::Timer& timer)
        : m_output(output), m_timer(timer) {}
    KJ_DISALLOW_COPY(HttpWriter);

    /// The size of a body that may not be sent is left out, as in a response to HEAD.
    kj::Promise<void> send(const HttpResponse& response);
    /// Tells a client that waits for it to send the body.
    kj::Promise<void> sendContinue();

    // A response in pieces. A client of HTTP 1.0 knows no chunks: for it, the end of the connection
    // is the end of the response.

    /// `response` is without a body.
    kj::Promise<void> begin(const HttpResponse& response, bool inChunks);
    kj::Promise<void> piece(String text);
    /// `trailers`: fields that were not known at the beginning.
    kj::Promise<void> end(const HttpFields& trailers = {});

private:
    kj::Promise<void> write(String text);

    kj::AsyncOutputStream& m_output;
    kj::Timer& m_timer;
    bool m_inChunks = false;
};

}  // namespace OwCimomd
