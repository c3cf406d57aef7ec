// SPDX-License-Identifier: Apache-2.0
#include "openwbem/client/ClientLoop.hpp"

namespace OpenWBEM {

std::shared_ptr<ClientLoop> ClientLoop::ofThisThread() {
    thread_local std::weak_ptr<ClientLoop> loop;
    auto held = loop.lock();
    if (!held) {
        held = std::make_shared<ClientLoop>();
        loop = held;
    }
    return held;
}

BrokenPipesIgnored::BrokenPipesIgnored() {
    struct sigaction ignored {};
    ignored.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignored, &m_before);
}

BrokenPipesIgnored::~BrokenPipesIgnored() {
    sigaction(SIGPIPE, &m_before, nullptr);
}

}  // namespace OpenWBEM
