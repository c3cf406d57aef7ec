// SPDX-License-Identifier: Apache-2.0
#include "openwbem/wire/PipePassing.hpp"

#include <sys/socket.h>

#include <algorithm>
#include <cstring>

namespace OpenWBEM::PipePassing {

namespace {

/// A message of some bytes with room for two descriptors.
struct Message {
    Message(void* bytes, size_t size) : data{bytes, size} {
        header.msg_iov = &data;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    iovec data;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int[2]))]{};
    msghdr header{};
};

}  // namespace

ssize_t send(int socket, kj::ArrayPtr<const kj::byte> bytes, const std::array<int, 2>& ends) {
    Message message(const_cast<kj::byte*>(bytes.begin()), bytes.size());
    cmsghdr* rights = CMSG_FIRSTHDR(&message.header);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof ends);
    std::memcpy(CMSG_DATA(rights), ends.data(), sizeof ends);
    return ::sendmsg(socket, &message.header, MSG_NOSIGNAL | MSG_DONTWAIT);
}

Received receive(int socket, void* buffer, size_t size) {
    Message message(buffer, size);
    Received received{
        ::recvmsg(socket, &message.header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC), {}, false};
    if (received.count <= 0) {
        return received;
    }
    const cmsghdr* rights = CMSG_FIRSTHDR(&message.header);
    if (rights != nullptr && rights->cmsg_level == SOL_SOCKET && rights->cmsg_type == SCM_RIGHTS) {
        int ends[2] = {-1, -1};
        std::memcpy(ends, CMSG_DATA(rights),
                    std::min<size_t>(rights->cmsg_len - CMSG_LEN(0), sizeof ends));
        received.ends[0] = kj::AutoCloseFd(ends[0]);
        received.ends[1] = kj::AutoCloseFd(ends[1]);
    }
    received.areLost = (message.header.msg_flags & MSG_CTRUNC) != 0;
    return received;
}

}  // namespace OpenWBEM::PipePassing
