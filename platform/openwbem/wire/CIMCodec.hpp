// SPDX-License-Identifier: Apache-2.0
//
// Objects as Cap'n Proto messages, the form in which they are stored and sent. Decoding accepts
// hostile bytes: anything but a well-formed message of the expected kind is a CodecException, and
// memory stays in proportion to the bytes.
#pragma once

#include <cstddef>
#include <span>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/CIMQualifierType.hpp"

namespace OpenWBEM::Codec {

BLOCXX_DECLARE_EXCEPTION2(Codec, ::blocxx::Exception)

using Bytes = std::span<const std::byte>;

/// Encodes only what the class itself declares, without propagated features and qualifiers.
String encode(const CIMClass& cls);
/// Encodes the qualifiers of the instance itself, not those of its properties.
String encode(const CIMInstance& instance);
String encode(const CIMQualifierType& qualifierType);
String encode(const CIMObjectPath& path);

// The form in which operands and results are sent: complete, with everything inherited or taken
// from the class.
String encodeView(const CIMClass& cls);
String encodeView(const CIMInstance& instance);
inline String encodeView(const CIMQualifierType& qualifierType) {
    return encode(qualifierType);
}
inline String encodeView(const CIMObjectPath& path) {
    return encode(path);
}
inline String encodeView(const String& name) {
    return name;
}

/// Decodes either form.
CIMClass decodeClass(Bytes bytes);
// Decode arguments of an operation. Names are not checked: the operation itself refuses invalid
// ones.
CIMClass decodeClassArgument(Bytes bytes);
CIMInstance decodeInstanceArgument(Bytes bytes);
CIMQualifierType decodeQualifierTypeArgument(Bytes bytes);
CIMObjectPath decodeObjectPathArgument(Bytes bytes);
CIMInstance decodeInstance(Bytes bytes);
CIMInstance decodeInstanceView(Bytes bytes);
CIMQualifierType decodeQualifierType(Bytes bytes);
CIMObjectPath decodeObjectPath(Bytes bytes);

/// Runs `code`, which encodes or decodes an operand. Throws CIMException INVALID_PARAMETER instead
/// of CodecException: the operand is at fault.
auto operand(auto code) {
    try {
        return code();
    } catch (const CodecException& e) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, e.getMessage());
    }
}

/// Decodes a result that encodeView() made of a T.
template <class T>
T decodeView(Bytes bytes) {
    if constexpr (std::is_same_v<T, CIMClass>) {
        return decodeClass(bytes);
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        return decodeInstanceView(bytes);
    } else if constexpr (std::is_same_v<T, CIMQualifierType>) {
        return decodeQualifierType(bytes);
    } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
        return decodeObjectPath(bytes);
    } else {
        static_assert(std::is_same_v<T, String>);
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }
}

}  // namespace OpenWBEM::Codec
