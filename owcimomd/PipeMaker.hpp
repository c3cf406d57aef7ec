// SPDX-License-Identifier: Apache-2.0
//
// Pipes in the place of a client's socket, and how the client gets its ends of them. Only for
// clients that may end the daemon anyway: the two ends of a pipe have one lock, and who holds one
// end can keep the other one waiting for it, by reading into memory that does not come. A socket
// has no such lock.
#pragma once

#include <kj/async-io.h>
#include <kj/io.h>
#include <sys/types.h>

namespace OwCimomd {

/// Makes them for so many clients at once, as each takes one descriptor more than the socket.
class PipeMaker {
public:
    PipeMaker(kj::LowLevelAsyncIoProvider& provider, size_t maxClients)
        : m_provider(provider), m_maxClients(maxClients) {}
    KJ_DISALLOW_COPY(PipeMaker);

    class Pipes;
    /// Nothing when there are no more for now. The maker must outlive them.
    kj::Maybe<kj::Own<Pipes>> make();

private:
    kj::LowLevelAsyncIoProvider& m_provider;
    size_t m_maxClients;
    size_t m_clients = 0;
};

/// One for the calls and one for the answers.
class PipeMaker::Pipes {
public:
    Pipes(PipeMaker& maker, kj::AutoCloseFd calls[2], kj::AutoCloseFd answers[2]);
    ~Pipes() noexcept { --m_maker.m_clients; }
    KJ_DISALLOW_COPY(Pipes);

    kj::AsyncInputStream& calls() noexcept { return *m_calls; }
    kj::AsyncOutputStream& answers() noexcept { return *m_answers; }
    int callsFd() const noexcept { return m_callsFd; }
    int answersFd() const noexcept { return m_answersFd; }

    /// Sends the bytes through the socket with the client's ends, which are closed here. As send(2)
    /// otherwise.
    ssize_t sendClientEnds(int socket, kj::ArrayPtr<const kj::byte> bytes);

private:
    PipeMaker& m_maker;
    int m_callsFd;
    int m_answersFd;
    kj::AutoCloseFd m_clientCalls;
    kj::AutoCloseFd m_clientAnswers;
    kj::Own<kj::AsyncInputStream> m_calls;
    kj::Own<kj::AsyncOutputStream> m_answers;
};

}  // namespace OwCimomd
