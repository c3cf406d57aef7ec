// SPDX-License-Identifier: Apache-2.0
#include "openwbem/wire/LocalSocket.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#ifndef SO_PASSRIGHTS
#define SO_PASSRIGHTS 83
#endif

namespace OpenWBEM {

namespace {

bool setOption(int fd, int option, int value) noexcept {
    return ::setsockopt(fd, SOL_SOCKET, option, &value, sizeof value) == 0;
}

/// Holds only the socket until the other end of `gate` is closed. Runs in a child of a child, so
/// that nobody has to wait for its end.
[[noreturn]] void holdUntilClosed(int fd, int gate) noexcept {
    char byte = 0;
    if (::dup2(gate, STDIN_FILENO) < 0 || ::dup2(fd, STDOUT_FILENO) < 0 ||
        ::close_range(STDERR_FILENO, ~0U, 0) != 0) {
        ::_exit(1);
    }
    const pid_t holder = ::fork();
    if (holder != 0) {
        ::_exit(holder < 0 ? 1 : 0);
    }
    while (::read(STDIN_FILENO, &byte, 1) < 0 && errno == EINTR) {
    }
    ::_exit(0);
}

bool isDone(pid_t child) noexcept {
    int status = 0;
    pid_t ended = -1;
    do {
        ended = ::waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == child && status == 0;
}

/// Makes an exiting process drop the last reference. When no process can be started, the descriptor
/// leaks, which is the lesser evil.
void closeByEnding(int fd) noexcept {
    int gate[2];
    if (::pipe2(gate, O_CLOEXEC) != 0) {
        return;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        holdUntilClosed(fd, gate[0]);
    }
    if (child > 0 && isDone(child)) {
        ::close(fd);
    }
    ::close(gate[0]);
    ::close(gate[1]);
}

/// Shuts the socket down. True when it holds no unread data.
bool isEmptyForGood(int fd) noexcept {
    char byte = 0;
    ::shutdown(fd, SHUT_RDWR);
    return ::recv(fd, &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) == 0;
}

}  // namespace

/// The peek would skip an out-of-band byte and its descriptors.
LocalSocket::LocalSocket(int fd, Guard guard) noexcept
    : m_fd(fd),
      m_isGuardedByKernel(guard == Guard::KERNEL_OR_READER && setOption(fd, SO_PASSRIGHTS, 0)) {
    if (!m_isGuardedByKernel) {
        setOption(fd, SO_OOBINLINE, 1);
    }
}

LocalSocket::~LocalSocket() {
    if (m_isGuardedByKernel || isEmptyForGood(m_fd)) {
        ::close(m_fd);
    } else {
        closeByEnding(m_fd);
    }
}

/// Reads no more than was peeked at, which stays first in the queue. The peek drops only references
/// of its own, never the last ones.
ssize_t LocalSocket::receive(void* buffer, size_t size) noexcept {
    if (m_isGuardedByKernel) {
        return ::recv(m_fd, buffer, size, MSG_DONTWAIT);
    }
    iovec data{buffer, size};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    const ssize_t count = ::recvmsg(m_fd, &message, MSG_PEEK | MSG_DONTWAIT);
    if (count <= 0) {
        return count;
    }
    if ((message.msg_flags & MSG_CTRUNC) != 0) {
        errno = EBADMSG;
        return -1;
    }
    return ::recv(m_fd, buffer, static_cast<size_t>(count), MSG_DONTWAIT);
}

}  // namespace OpenWBEM
