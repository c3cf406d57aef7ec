// SPDX-License-Identifier: Apache-2.0
//
// What the connections of a thread share: KJ's event loop, of which a thread can have only one. It
// runs while a call waits for its reply, and at no other time.
#pragma once

#include <kj/async-io.h>

#include <csignal>
#include <memory>

namespace OpenWBEM {

class ClientLoop {
public:
    /// The loop of this thread; it goes with the last of those who hold it.
    static std::shared_ptr<ClientLoop> ofThisThread();

    ClientLoop() : m_io(kj::setupAsyncIo()) {}
    kj::AsyncIoContext& io() noexcept { return m_io; }

private:
    kj::AsyncIoContext m_io;
};

/// While it lives, writing to a connection that is gone is an error and not the end of the process.
/// The process's own setting comes back afterwards.
class BrokenPipesIgnored {
public:
    BrokenPipesIgnored();
    ~BrokenPipesIgnored();
    BrokenPipesIgnored(const BrokenPipesIgnored&) = delete;
    BrokenPipesIgnored& operator=(const BrokenPipesIgnored&) = delete;

private:
    struct sigaction m_before {};
};

}  // namespace OpenWBEM
