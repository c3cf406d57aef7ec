// SPDX-License-Identifier: Apache-2.0
//
// One client's connection: what it may call, answered from the operations. Everything that belongs
// to a client, its enumerations included, goes with its connection.
#pragma once

#include <capnp/rpc-twoparty.h>

#include "owcimomd/Operations.hpp"
#include "owcimomd/PoliteStream.hpp"

namespace OwCimomd {

class ClientSession {
public:
    ClientSession(kj::Own<kj::AsyncIoStream> stream, Operations& operations, const User& user);

    /// Done when the client has gone, or was sent away for what is no message.
    kj::Promise<void> onEnd() { return m_network.onDisconnect(); }

private:
    PoliteStream m_stream;
    capnp::TwoPartyVatNetwork m_network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> m_rpc;
};

}  // namespace OwCimomd
