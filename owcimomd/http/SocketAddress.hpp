// SPDX-License-Identifier: Apache-2.0
//
// An address of IPv4 or IPv6, with a port.
#pragma once

#include <netinet/in.h>

#include <optional>

#include "blocxx/String.hpp"

namespace OwCimomd {

union SocketAddress {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;

    /// None when the text is no address.
    static std::optional<SocketAddress> parse(const blocxx::String& address, uint16_t port);

    bool isLoopback() const;
    /// Without the port.
    blocxx::String toString() const;
};

}  // namespace OwCimomd
