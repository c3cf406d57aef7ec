// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/SocketAddress.hpp"

#include <arpa/inet.h>

namespace OwCimomd {

std::optional<SocketAddress> SocketAddress::parse(const blocxx::String& address, uint16_t port) {
    SocketAddress result{};
    if (inet_pton(AF_INET, address.c_str(), &result.v4.sin_addr) == 1) {
        result.v4.sin_family = AF_INET;
        result.v4.sin_port = htons(port);
        return result;
    }
    if (inet_pton(AF_INET6, address.c_str(), &result.v6.sin6_addr) == 1) {
        result.v6.sin6_family = AF_INET6;
        result.v6.sin6_port = htons(port);
        return result;
    }
    return std::nullopt;
}

bool SocketAddress::isLoopback() const {
    return any.sa_family == AF_INET ? (ntohl(v4.sin_addr.s_addr) >> 24U) == IN_LOOPBACKNET
                                    : IN6_IS_ADDR_LOOPBACK(&v6.sin6_addr);
}

blocxx::String SocketAddress::toString() const {
    char text[INET6_ADDRSTRLEN] = "";
    const void* const address = any.sa_family == AF_INET ? static_cast<const void*>(&v4.sin_addr)
                                                         : static_cast<const void*>(&v6.sin6_addr);
    inet_ntop(any.sa_family, address, text, sizeof text);
    return text;
}

}  // namespace OwCimomd
