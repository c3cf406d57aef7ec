// SPDX-License-Identifier: Apache-2.0
//
// A connected or listening Unix socket that takes no descriptors from its peer (unix(7),
// SCM_RIGHTS). Neither side of a connection uses any, and to drop one can take as long as its
// sender likes: whoever drops the last reference to a TCP socket with SO_LINGER sleeps in the close
// until its data is sent.
//
// Linux 6.16 and later refuse them when they are sent. On older kernels a look at what has come
// tells of them before anything is read, and a socket that may hold some is closed by a process
// that ends with it: sockets do not linger for a process that ends.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace OpenWBEM {

class LocalSocket {
public:
    /// Who keeps descriptors away. READER is for tests: on a kernel that refuses them, too.
    enum class Guard { KERNEL_OR_READER, READER };

    /// Takes over a socket of which nothing has been read.
    explicit LocalSocket(int fd, Guard guard = Guard::KERNEL_OR_READER) noexcept;
    /// Closes it, without waiting for anything that the peer has sent.
    ~LocalSocket();
    LocalSocket(const LocalSocket&) = delete;
    LocalSocket& operator=(const LocalSocket&) = delete;

    int fd() const noexcept { return m_fd; }

    /// As recv(2) that does not wait. Fails with EBADMSG, and reads nothing, when there are
    /// descriptors in what has come.
    ssize_t receive(void* buffer, size_t size) noexcept;

private:
    int m_fd;
    bool m_isGuardedByKernel;
};

}  // namespace OpenWBEM
