// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/PipeMaker.hpp"

#include <fcntl.h>
#include <unistd.h>

#include "openwbem/wire/PipePassing.hpp"

namespace OwCimomd {

namespace PipePassing = OpenWBEM::PipePassing;
using kj::LowLevelAsyncIoProvider;

namespace {

constexpr unsigned AS_IT_IS =
    LowLevelAsyncIoProvider::ALREADY_CLOEXEC | LowLevelAsyncIoProvider::ALREADY_NONBLOCK;

/// The reading end and the writing end. False when there are no descriptors left.
bool makePipe(kj::AutoCloseFd ends[2]) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    ends[0] = kj::AutoCloseFd(fds[0]);
    ends[1] = kj::AutoCloseFd(fds[1]);
    return true;
}

}  // namespace

kj::Maybe<kj::Own<PipeMaker::Pipes>> PipeMaker::make() {
    kj::AutoCloseFd calls[2];
    kj::AutoCloseFd answers[2];
    if (m_clients >= m_maxClients || !makePipe(calls) || !makePipe(answers)) {
        return nullptr;
    }
    try {
        return kj::heap<Pipes>(*this, calls, answers);
    } catch (const kj::Exception&) {
        // The event loop cannot watch so many; the client goes on without.
        return nullptr;
    }
}

PipeMaker::Pipes::Pipes(PipeMaker& maker, kj::AutoCloseFd calls[2], kj::AutoCloseFd answers[2])
    : m_maker(maker),
      m_callsFd(calls[0].get()),
      m_answersFd(answers[1].get()),
      m_clientCalls(kj::mv(calls[1])),
      m_clientAnswers(kj::mv(answers[0])),
      m_calls(maker.m_provider.wrapInputFd(kj::mv(calls[0]), AS_IT_IS)),
      m_answers(maker.m_provider.wrapOutputFd(kj::mv(answers[1]), AS_IT_IS)) {
    ++m_maker.m_clients;
}

ssize_t PipeMaker::Pipes::sendClientEnds(int socket, kj::ArrayPtr<const kj::byte> bytes) {
    const ssize_t count =
        PipePassing::send(socket, bytes, {m_clientCalls.get(), m_clientAnswers.get()});
    m_clientCalls = nullptr;
    m_clientAnswers = nullptr;
    return count;
}

}  // namespace OwCimomd
