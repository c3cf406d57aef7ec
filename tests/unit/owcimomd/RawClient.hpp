// SPDX-License-Identifier: Apache-2.0
//
// A connection to the daemon through which any bytes can be sent, and bytes to send.
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

    ssize_t send(std::string_view bytes, bool isWaiting = true);
    void drain();
    /// Reads until the daemon sends no more. Returns whether it has ended the connection.
    bool isEnded();

    /// Pings. Returns whether the next message is the answer to that, and not a failure.
    bool ping();
    /// Reads the next answer. Returns the message of its failure, empty when it has none.
    String failure();

private:
    ssize_t read(void* buffer, size_t size, bool isWaiting);
    bool isAnswered(uint64_t id);

    int m_socket;
    uint64_t m_lastId = 0;
};

/// The bytes of 32-bit numbers, as in a Cap'n Proto message.
String words(std::initializer_list<uint32_t> halves);
String toBytes(capnp::MessageBuilder& message);
String pingCall(uint64_t id = 0);

}  // namespace KovTest
