// SPDX-License-Identifier: Apache-2.0
//
// A bare connection to the daemon, and what can be sent through it.
#pragma once

#include <sys/types.h>

#include <initializer_list>
#include <string_view>

#include "blocxx/String.hpp"
#include "rpc.capnp.h"

namespace KovTest {

using blocxx::String;

class RawClient {
public:
    explicit RawClient(const String& path);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /// Sends through the socket, or through the pipe once there is one.
    ssize_t send(std::string_view bytes, bool isWaiting = true);
    void takeWhatIsThere();
    /// Whether the daemon ends the connection, after whatever it has to say.
    bool isEnded();

    /// Pings, taking pipes, until they come or so many answers have come without. Returns whether
    /// they have.
    bool getPipes(int pings = 20);
    /// Pings; returns whether the answer is one to this ping, and no failure.
    bool ping();
    void closeAnswers();
    void closeCalls();
    /// Whether the socket is at its end.
    bool isSocketEnded() const;

private:
    ssize_t read(void* buffer, size_t size, bool isWaiting);
    bool isAnswered(uint64_t id);

    int m_socket;
    int m_calls = -1;
    int m_answers = -1;
    uint64_t m_lastId = 0;
};

/// 32 bit numbers in the order of the wire.
String words(std::initializer_list<uint32_t> halves);
String toBytes(capnp::MessageBuilder& message);
String pingCall(uint64_t id = 0, bool takesPipes = false);

}  // namespace KovTest
