// SPDX-License-Identifier: Apache-2.0
//
// Encodes objects for the repository's rows and decodes them. Throws CIMException INVALID_PARAMETER
// for an object that cannot be encoded, and FAILED, for a damaged repository, when a row cannot be
// decoded.
#pragma once

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace OpenWBEM::StoredForm {

String of(const auto& object) {
    try {
        return Codec::encode(object);
    } catch (const Codec::CodecException& e) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           blocxx::Format("the object cannot be stored: %1", e.what()));
    }
}

auto decode(auto decoder, Codec::Bytes bytes) {
    try {
        return decoder(bytes);
    } catch (const Codec::CodecException& e) {
        OPENWBEM_THROW_CIM(FAILED,
                           blocxx::Format("the repository holds an object that cannot be read "
                                          "(%1); put a backup of the repository back",
                                          e.what()));
    }
}

inline CIMClass cls(Codec::Bytes bytes) {
    return decode(Codec::decodeClass, bytes);
}
inline CIMInstance instance(Codec::Bytes bytes) {
    return decode(Codec::decodeInstance, bytes);
}
inline CIMQualifierType qualifierType(Codec::Bytes bytes) {
    return decode(Codec::decodeQualifierType, bytes);
}
inline CIMObjectPath path(Codec::Bytes bytes) {
    return decode(Codec::decodeObjectPath, bytes);
}

inline Codec::Bytes bytesOf(const String& text) {
    return std::as_bytes(std::span(text));
}

}  // namespace OpenWBEM::StoredForm
