// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/HttpReader.hpp"

namespace OwCimomd {

namespace {

constexpr size_t PIECE = size_t{64} << 10U;

}  // namespace

/// False at the end of the connection. Others are served between two pieces.
kj::Promise<bool> HttpReader::fill() {
    const size_t had = m_buffer.size();
    m_buffer.resize(had + PIECE);
    return kj::evalLater([this, had] { return m_input.tryRead(&m_buffer[had], 1, PIECE); })
        .then([this, had](size_t size) {
            m_buffer.resize(had + size);
            return size > 0;
        });
}

void HttpReader::parse() {
    m_buffer.erase(0, m_parser->put(m_buffer));
}

/// Reads until the parser has left `state`.
kj::Promise<void> HttpReader::readOn(HttpParser::State state) {
    parse();
    if (m_parser->state() != state) {
        return kj::READY_NOW;
    }
    // What the parser leaves is less than a line that is too long.
    if (m_buffer.size() > HttpParser::MAX_HEADER) {
        m_parser->refuse(400);
        return kj::READY_NOW;
    }
    return fill().then([this, state](bool isThere) -> kj::Promise<void> {
        if (!isThere) {
            m_parser->refuse(400);
            return kj::READY_NOW;
        }
        return readOn(state);
    });
}

kj::Promise<HttpParser*> HttpReader::next(kj::Duration patience) {
    m_parser = std::make_unique<HttpParser>();
    auto begin =
        m_buffer.empty() ? m_timer.timeoutAfter(patience, fill()) : kj::Promise<bool>(true);
    return begin.then([this](bool isThere) -> kj::Promise<HttpParser*> {
        if (!isThere) {
            // A plain nullptr would be a promise that is not there.
            return static_cast<HttpParser*>(nullptr);
        }
        return m_timer.timeoutAfter(HEADER_TIME, readOn(HttpParser::State::HEADER)).then([this] {
            return m_parser.get();
        });
    });
}

kj::Promise<void> HttpReader::discard() {
    return discardOn(0).exclusiveJoin(m_timer.afterDelay(DISCARD_TIME));
}

kj::Promise<void> HttpReader::discardOn(size_t discarded) {
    m_buffer.clear();
    return fill().then([this, discarded](bool isThere) -> kj::Promise<void> {
        if (!isThere || discarded >= MAX_DISCARDED) {
            return kj::READY_NOW;
        }
        return discardOn(discarded + m_buffer.size());
    });
}

kj::Promise<void> HttpReader::readBody(size_t limit) {
    m_parser->readBody(limit);
    return m_timer.timeoutAfter(BODY_TIME, readOn(HttpParser::State::BODY));
}

}  // namespace OwCimomd
