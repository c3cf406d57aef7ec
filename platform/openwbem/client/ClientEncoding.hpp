// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "openwbem/model/CIMException.hpp"
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

}  // namespace OpenWBEM
