// SPDX-License-Identifier: Apache-2.0
//
// A connected or listening Unix socket that accepts no descriptors from its peer (unix(7),
// SCM_RIGHTS). A received descriptor can block its receiver: closing the last reference to a TCP
// socket with SO_LINGER waits until its data is sent.
//
// Linux 6.16 and later refuse them at the sender. On older kernels a peek detects them before
// anything is read, and a socket that may hold some is closed by the exit of a child process, which
// does not linger.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace OpenWBEM {

class LocalSocket {
public:
    /// Who refuses descriptors. READER makes tests use the peek on newer kernels, too.
    enum class Guard { KERNEL_OR_READER, READER };

    /// Takes ownership of a socket from which nothing has been read.
    explicit LocalSocket(int fd, Guard guard = Guard::KERNEL_OR_READER) noexcept;
    /// Closes the socket without waiting for descriptors that the peer has sent.
    ~LocalSocket();
    LocalSocket(const LocalSocket&) = delete;
    LocalSocket& operator=(const LocalSocket&) = delete;

    int fd() const noexcept { return m_fd; }

    /// As recv(2) with MSG_DONTWAIT. Fails with EBADMSG and reads nothing when descriptors have
    /// arrived.
    ssize_t receive(void* buffer, size_t size) noexcept;

private:
    int m_fd;
    bool m_isGuardedByKernel;
};

}  // namespace OpenWBEM
