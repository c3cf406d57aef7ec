// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/CallReader.hpp"

#include <kj/debug.h>

#include <cstring>

namespace OwCimomd {

namespace {

constexpr size_t WORD = sizeof(capnp::word);
constexpr uint32_t MAX_SEGMENTS = 512;
/// Smaller calls need no accounting: connections are few, and nobody may be kept from these.
constexpr size_t FREE_BYTES = size_t(16) << 10U;

uint32_t numberAt(kj::ArrayPtr<const capnp::word> table, size_t index) {
    uint32_t number = 0;
    std::memcpy(&number, table.asBytes().begin() + index * sizeof number, sizeof number);
    return number;
}

}  // namespace

// The first word: the number of segments, less one, and the size of the first one.
kj::Promise<ReceivedCall> CallReader::next() {
    m_table = kj::heapArray<capnp::word>(1);
    return m_input.tryRead(m_table.begin(), WORD, WORD)
        .then([this](size_t count) -> kj::Promise<ReceivedCall> {
            if (count == 0) {
                return ReceivedCall();
            }
            KJ_REQUIRE(count == WORD, "the connection has ended within a message");
            return readTable();
        });
}

// The sizes of all other segments.
kj::Promise<ReceivedCall> CallReader::readTable() {
    const uint32_t more = numberAt(m_table, 0);
    KJ_REQUIRE(more < MAX_SEGMENTS, "a message has too many segments");
    auto table = kj::heapArray<capnp::word>(1 + (more + 1) / 2);
    std::memcpy(table.begin(), m_table.begin(), WORD);
    m_table = kj::mv(table);
    return m_input.read(m_table.begin() + 1, (m_table.size() - 1) * WORD).then([this] {
        return readSegments();
    });
}

kj::Promise<ReceivedCall> CallReader::readSegments() {
    uint64_t words = m_table.size();
    for (size_t i = 0; i <= numberAt(m_table, 0); ++i) {
        words += numberAt(m_table, 1 + i);
    }
    const uint64_t bytes = words * WORD;
    ReceivedCall call;
    if (bytes > m_maxBytes) {
        call.refusal =
            "the request is larger than owcimomd takes from this user (owcimomd.max_request_size)";
        return kj::mv(call);
    }
    if (bytes > FREE_BYTES && !(call.share = m_budget.take(m_user, bytes))) {
        call.refusal =
            "more requests are being received than owcimomd has memory for; try again later";
        return kj::mv(call);
    }
    call.words = kj::heapArray<capnp::word>(words);
    std::memcpy(call.words.begin(), m_table.begin(), m_table.size() * WORD);
    kj::byte* const rest = call.words.asBytes().begin() + m_table.size() * WORD;
    return m_input.read(rest, bytes - m_table.size() * WORD).then([call = kj::mv(call)]() mutable {
        return kj::mv(call);
    });
}

}  // namespace OwCimomd
