// SPDX-License-Identifier: Apache-2.0
//
// Part of ClientCIMOMHandle: encodes arguments and decodes results.
#pragma once

#include "blocxx/Interruption.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "openwbem/client/ClientConnection.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace OpenWBEM {

/// Runs `encode`. Throws CIMException INVALID_PARAMETER for an object that cannot be encoded.
template <class Encode>
String encodeArgument(Encode encode) {
    try {
        return encode();
    } catch (const Codec::CodecException& e) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, e.getMessage());
    }
}

/// Runs `decode`. Throws CIMException FAILED for a result that cannot be decoded.
template <class Decode>
auto decodeResult(Decode decode) {
    try {
        return decode();
    } catch (const Codec::CodecException& e) {
        OPENWBEM_THROW_CIM(FAILED,
                           String("The answer of owcimomd cannot be read: ") + e.getMessage());
    }
}

inline ClientConnection::Bytes bytesOf(const String& text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

template <class T, class Decode>
void ClientCIMOMHandle::enumerate(const ClientCall& call, ResultHandlerIFC<T>& result,
                                  Decode decode) {
    blocxx::Interruption::check();
    m_connection->enumerate(call, m_protocol->getTimeout(), [&](ClientConnection::Bytes bytes) {
        blocxx::Interruption::check();
        result.handle(decodeResult([&] { return decode(bytes); }));
    });
}

}  // namespace OpenWBEM
