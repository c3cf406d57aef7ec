// SPDX-License-Identifier: Apache-2.0
//
// One client's connection: its calls are carried out and answered one after another. The next one
// is only read when the answer to the last one has been taken, so requests wait with the client,
// and not their answers with the daemon. Everything that belongs to a client, its enumerations
// included, goes with its connection.
#pragma once

#include <capnp/message.h>
#include <kj/async.h>

#include <map>

#include "owcimomd/connections/CallReader.hpp"
#include "owcimomd/operations/Operations.hpp"

namespace OwCimomd {

class ClientSession {
public:
    ClientSession(kj::Own<PeerSocket> socket, Operations& operations, User user,
                  RequestBudget& budget);
    KJ_DISALLOW_COPY(ClientSession);

    /// Serves the client. Done when it has gone; fails when it sends what is no message.
    kj::Promise<void> run();

private:
    /// What it was asked for with may stay in memory as long as it does, and counts as long.
    struct OpenEnumeration {
        std::unique_ptr<EncodedEnumeration> results;
        std::shared_ptr<RequestBudget::Part> part;
    };

    /// Tells the client why, and has nothing more to do with it.
    kj::Promise<void> sendAway(const char* reason);
    /// Carries the call out. Done when the answer has been taken.
    kj::Promise<void> answer(ReceivedCall received);
    kj::Promise<void> send(capnp::MessageBuilder& message);
    /// Returns whether there is an answer.
    bool handle(wire::Call::Reader call, wire::Answer::Builder answer);
    void carryOut(wire::Call::Reader call, wire::Answer::Builder answer);
    void store(wire::Storing::Reader storing, wire::Answer::Builder answer);
    void enumerate(wire::Request::Reader request, wire::Answer::Builder answer);
    void next(uint32_t number, wire::Answer::Builder answer);
    /// Returns whether there is more.
    bool putPortion(EncodedEnumeration& enumeration, wire::Answer::Builder answer);

    kj::Own<PeerSocket> m_socket;
    Operations& m_operations;
    User m_user;
    CallReader m_calls;
    uint32_t m_lastNumber = 0;
    std::shared_ptr<RequestBudget::Part> m_part;  // of the request that is being carried out
    std::map<uint32_t, OpenEnumeration> m_enumerations;
};

}  // namespace OwCimomd
