// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/owcimomd/RawClient.hpp"

#include <capnp/serialize.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

namespace KovTest {

namespace {

constexpr int PATIENCE_MS = 20000;

bool isReady(int fd, short events) {
    pollfd waiting{fd, events, 0};
    return ::poll(&waiting, 1, PATIENCE_MS) == 1;
}

}  // namespace

RawClient::RawClient(const String& path)
    : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, ::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address));
}

RawClient::~RawClient() {
    ::close(m_socket);
}

ssize_t RawClient::send(std::string_view bytes, bool isWaiting) {
    return ::send(m_socket, bytes.data(), bytes.size(),
                  MSG_NOSIGNAL | (isWaiting ? 0 : MSG_DONTWAIT));
}

ssize_t RawClient::read(void* buffer, size_t size, bool isWaiting) {
    if (isWaiting && !isReady(m_socket, POLLIN)) {
        return -1;
    }
    return ::recv(m_socket, buffer, size, MSG_DONTWAIT);
}

void RawClient::drain() {
    char buffer[4096];
    while (read(buffer, sizeof buffer, false) > 0) {
    }
}

bool RawClient::isEnded() {
    char buffer[4096];
    ssize_t count = 0;
    do {
        count = read(buffer, sizeof buffer, true);
    } while (count > 0);
    return count == 0 || errno == ECONNRESET;
}

bool RawClient::isAnswered(uint64_t id) {
    alignas(capnp::word) char buffer[4096];
    const ssize_t count = read(buffer, sizeof buffer, true);
    if (count <= 0) {
        return false;
    }
    capnp::FlatArrayMessageReader message(
        kj::arrayPtr(reinterpret_cast<const capnp::word*>(buffer),
                     static_cast<size_t>(count) / sizeof(capnp::word)));
    const auto answer = message.getRoot<OpenWBEM::wire::Answer>();
    return answer.getId() == id && answer.getFailure().getCode() == 0;
}

String RawClient::failure() {
    alignas(capnp::word) char buffer[4096];
    const ssize_t count = read(buffer, sizeof buffer, true);
    if (count <= 0) {
        return {};
    }
    capnp::FlatArrayMessageReader message(
        kj::arrayPtr(reinterpret_cast<const capnp::word*>(buffer),
                     static_cast<size_t>(count) / sizeof(capnp::word)));
    const auto text = message.getRoot<OpenWBEM::wire::Answer>().getFailure().getMessage();
    return {text.begin(), text.size()};
}

bool RawClient::ping() {
    send(pingCall(++m_lastId));
    return isAnswered(m_lastId);
}

String words(std::initializer_list<uint32_t> halves) {
    String bytes;
    for (const uint32_t half : halves) {
        bytes.append(reinterpret_cast<const char*>(&half), sizeof half);
    }
    return bytes;
}

String toBytes(capnp::MessageBuilder& message) {
    const auto words = capnp::messageToFlatArray(message);
    const auto bytes = words.asChars();
    return {bytes.begin(), bytes.size()};
}

String pingCall(uint64_t id) {
    capnp::MallocMessageBuilder message;
    auto call = message.initRoot<OpenWBEM::wire::Call>();
    call.setId(id);
    call.setPing();
    return toBytes(message);
}

}  // namespace KovTest
