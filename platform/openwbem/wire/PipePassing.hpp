// SPDX-License-Identifier: Apache-2.0
//
// How two pipes get from the daemon to its client, with the bytes of an answer (unix(7),
// SCM_RIGHTS).
#pragma once

#include <kj/common.h>
#include <kj/io.h>
#include <sys/types.h>

#include <array>

namespace OpenWBEM::PipePassing {

/// As send(2) that does not wait and raises no signal, with the ends that the client shall have.
ssize_t send(int socket, kj::ArrayPtr<const kj::byte> bytes, const std::array<int, 2>& ends);

struct Received {
    ssize_t count;  ///< as recv(2) that does not wait
    kj::AutoCloseFd ends[2];
    bool areLost;  ///< there were no descriptors left for all of them
};
Received receive(int socket, void* buffer, size_t size);

}  // namespace OpenWBEM::PipePassing
