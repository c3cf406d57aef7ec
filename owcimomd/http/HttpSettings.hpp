// SPDX-License-Identifier: Apache-2.0
//
// What the configuration says about the window, and what is made of it before anybody is served.
#pragma once

#include <kj/async-io.h>
#include <kj/compat/tls.h>

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;

struct HttpSettings {
    String address = "127.0.0.1";  ///< IPv4 or IPv6
    uint16_t port = 0;             ///< 0: there is no window
    String certificate{};          ///< files in PEM; both or none
    String key{};
    String passwordFile{};
};

// Both throw blocxx::Exception, which names the key, for settings that cannot be used.

/// Null without a certificate.
kj::Own<kj::TlsContext> tlsOf(const HttpSettings& settings, kj::Timer& timer);
/// Other addresses than those of loopback need TLS.
kj::Own<kj::ConnectionReceiver> listenAt(kj::AsyncIoContext& io, const HttpSettings& settings);

}  // namespace OwCimomd
