// SPDX-License-Identifier: Apache-2.0
//
// The way of one client's calls and answers: the socket on which it has come and, when it goes on
// calling, two pipes: a message through a socket has a buffer of its own that one processor makes
// and another one frees, and costs much more.
#pragma once

#include <capnp/message.h>
#include <kj/async-io.h>
#include <sys/types.h>

#include "owcimomd/BufferedStream.hpp"
#include "owcimomd/PipeMaker.hpp"

namespace OwCimomd {

class ClientChannel {
public:
    ClientChannel(kj::Own<kj::AsyncIoStream> socket, PipeMaker& maker);

    /// Where calls are read.
    BufferedStream& calls() noexcept { return m_input; }
    /// Sends an answer. Nothing when that is all; otherwise done when it has been taken.
    kj::Maybe<kj::Promise<void>> send(kj::Own<capnp::MallocMessageBuilder> answer);
    /// The same; when the answer is a usual one and there are pipes, everything after it goes
    /// through those. Only for a client that waits for it before it sends its next call.
    kj::Maybe<kj::Promise<void>> sendWithPipes(kj::Own<capnp::MallocMessageBuilder> answer);

private:
    kj::AsyncOutputStream& answers() noexcept;
    ssize_t sendAtOnce(kj::ArrayPtr<const kj::byte> bytes);

    PipeMaker& m_maker;
    kj::Own<kj::AsyncIoStream> m_socket;  // null once there are pipes
    int m_socketFd;
    kj::Own<PipeMaker::Pipes> m_pipes;
    BufferedStream m_input;
};

}  // namespace OwCimomd
