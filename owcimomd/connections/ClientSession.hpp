// SPDX-License-Identifier: Apache-2.0
//
// One client's connection. Calls are carried out and answered one after another. The next call is
// read after the peer has taken the last answer, so requests queue up in the client, not answers in
// the daemon. Everything that belongs to a client, its enumerations included, ends with its
// connection.
#pragma once

#include <capnp/message.h>
#include <kj/async.h>

#include <map>

#include "owcimomd/connections/CallReader.hpp"
#include "owcimomd/operations/Operations.hpp"
#include "rpc.capnp.h"

namespace OwCimomd {

class ClientSession {
public:
    ClientSession(kj::Own<PeerSocket> socket, Operations& operations, User user,
                  RequestBudget& budget);
    KJ_DISALLOW_COPY(ClientSession);

    /// Serves the client. Done when it has disconnected; fails when it sends anything but messages.
    kj::Promise<void> run();

private:
    /// Has a share of the budget: it may hold as much memory as its request did.
    struct OpenEnumeration {
        PermittedEnumeration results;
        RequestBudget::Share share;
    };

    /// Sends `reason`. Nothing is read from the client afterwards.
    kj::Promise<void> sendAway(const char* reason);
    /// Carries the call out. Done when the peer has taken the answer.
    kj::Promise<void> answer(ReceivedCall received);
    kj::Promise<void> send(capnp::MessageBuilder& message);
    /// Returns whether there is an answer.
    bool handle(wire::Call::Reader call, wire::Answer::Builder answer);
    void carryOut(wire::Call::Reader call, wire::Answer::Builder answer);
    void carryOut(wire::Request::Reader request, wire::Answer::Builder answer);
    void store(wire::Storing::Reader storing, wire::Answer::Builder answer);
    void enumerate(wire::Request::Reader request, wire::Answer::Builder answer);
    void next(uint32_t number, wire::Answer::Builder answer);
    /// Returns whether there is more.
    bool putPortion(PermittedEnumeration& enumeration, wire::Answer::Builder answer);

    kj::Own<PeerSocket> m_socket;
    Operations& m_operations;
    User m_user;
    RequestBudget& m_budget;
    CallReader m_calls;
    uint32_t m_lastNumber = 0;
    // Of the request that is being carried out.
    RequestBudget::Share m_share;
    size_t m_size = 0;
    std::map<uint32_t, OpenEnumeration> m_enumerations;
};

}  // namespace OwCimomd
