// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/ClientChannel.hpp"

#include <capnp/serialize-async.h>
#include <capnp/serialize.h>
#include <sys/socket.h>
#include <unistd.h>

#include "openwbem/wire/RpcLimits.hpp"

namespace OwCimomd {

using OpenWBEM::RpcLimits::USUAL_WORDS;

namespace {

int descriptorOf(kj::AsyncIoStream& stream) {
    KJ_IF_MAYBE (fd, stream.getFd()) {
        return *fd;
    }
    return -1;
}

}  // namespace

ClientChannel::ClientChannel(kj::Own<kj::AsyncIoStream> socket, PipeMaker& maker)
    : m_maker(maker),
      m_socket(kj::mv(socket)),
      m_socketFd(descriptorOf(*m_socket)),
      m_input(*m_socket, m_socketFd) {}

kj::AsyncOutputStream& ClientChannel::answers() noexcept {
    if (m_socket) {
        return *m_socket;
    }
    return m_pipes->answers();
}

ssize_t ClientChannel::sendAtOnce(kj::ArrayPtr<const kj::byte> bytes) {
    return m_socket ? ::send(m_socketFd, bytes.begin(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT)
                    : ::write(m_pipes->answersFd(), bytes.begin(), bytes.size());
}

kj::Maybe<kj::Promise<void>> ClientChannel::send(kj::Own<capnp::MallocMessageBuilder> answer) {
    if (answer->sizeInWords() > USUAL_WORDS) {
        auto writing = capnp::writeMessage(answers(), *answer);
        return writing.attach(kj::mv(answer));
    }
    auto words = capnp::messageToFlatArray(*answer);
    const auto bytes = words.asBytes();
    // A failure is met again by the writing.
    const ssize_t count = sendAtOnce(bytes);
    const auto rest = bytes.slice(count < 0 ? 0 : static_cast<size_t>(count), bytes.size());
    if (rest.size() == 0) {
        return nullptr;
    }
    auto writing = answers().write(rest.begin(), rest.size());
    return writing.attach(kj::mv(words));
}

kj::Maybe<kj::Promise<void>> ClientChannel::sendWithPipes(
    kj::Own<capnp::MallocMessageBuilder> answer) {
    if (!m_socket || answer->sizeInWords() > USUAL_WORDS) {
        return send(kj::mv(answer));
    }
    KJ_IF_MAYBE (pipes, m_maker.make()) {
        const auto words = capnp::messageToFlatArray(*answer);
        const auto bytes = words.asBytes();
        const ssize_t count = (*pipes)->sendClientEnds(m_socketFd, bytes);
        // So little is sent as a whole or not at all.
        if (count == static_cast<ssize_t>(bytes.size())) {
            m_pipes = kj::mv(*pipes);
            m_input.goOnWith(m_pipes->calls(), m_pipes->callsFd());
            m_socket = nullptr;
            return nullptr;
        }
    }
    return send(kj::mv(answer));
}

}  // namespace OwCimomd
