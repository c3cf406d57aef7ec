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

    ssize_t send(std::string_view bytes, bool isWaiting = true);
    void takeWhatIsThere();
    /// Whether the daemon ends the connection, after whatever it has to say.
    bool isEnded();

    /// Pings; returns whether the answer is one to this ping, and no failure.
    bool ping();
    /// The text of the failure that the next answer tells of; empty when there is none.
    String failure();

private:
    ssize_t read(void* buffer, size_t size, bool isWaiting);
    bool isAnswered(uint64_t id);

    int m_socket;
    uint64_t m_lastId = 0;
};

/// 32 bit numbers in the order of the wire.
String words(std::initializer_list<uint32_t> halves);
String toBytes(capnp::MessageBuilder& message);
String pingCall(uint64_t id = 0);

}  // namespace KovTest
