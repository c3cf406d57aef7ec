// SPDX-License-Identifier: Apache-2.0
//
// Maps the number of a CIM type to the C++ type of its values, for the encoder and the decoder.
#pragma once

#include <type_traits>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

namespace OpenWBEM::Codec {

/// The deepest nesting of objects in values of objects. It bounds the recursion of decoding.
/// Encoding has the same limit, so that everything encoded can be decoded.
inline constexpr unsigned MAX_OBJECT_DEPTH = 16;
/// The most Cap'n Proto pointers on the way from one object to an object in one of its values:
/// class, methods, method, parameters, parameter, qualifiers, qualifier, value, list, object.
inline constexpr unsigned POINTERS_PER_OBJECT = 12;

/// Calls visitor(std::type_identity<T>{}) with the T of `type`, which is not INVALID.
template <class Visitor>
decltype(auto) visitValueType(CIMDataType::Type type, Visitor visitor) {
    switch (type) {
        case CIMDataType::BOOLEAN:
            return visitor(std::type_identity<bool>{});
        case CIMDataType::UINT8:
            return visitor(std::type_identity<uint8_t>{});
        case CIMDataType::SINT8:
            return visitor(std::type_identity<int8_t>{});
        case CIMDataType::UINT16:
            return visitor(std::type_identity<uint16_t>{});
        case CIMDataType::SINT16:
            return visitor(std::type_identity<int16_t>{});
        case CIMDataType::UINT32:
            return visitor(std::type_identity<uint32_t>{});
        case CIMDataType::SINT32:
            return visitor(std::type_identity<int32_t>{});
        case CIMDataType::UINT64:
            return visitor(std::type_identity<uint64_t>{});
        case CIMDataType::SINT64:
            return visitor(std::type_identity<int64_t>{});
        case CIMDataType::REAL32:
            return visitor(std::type_identity<float>{});
        case CIMDataType::REAL64:
            return visitor(std::type_identity<double>{});
        case CIMDataType::CHAR16:
            return visitor(std::type_identity<Char16>{});
        case CIMDataType::STRING:
            return visitor(std::type_identity<String>{});
        case CIMDataType::DATETIME:
            return visitor(std::type_identity<CIMDateTime>{});
        case CIMDataType::REFERENCE:
            return visitor(std::type_identity<CIMObjectPath>{});
        case CIMDataType::EMBEDDEDINSTANCE:
            return visitor(std::type_identity<CIMInstance>{});
        case CIMDataType::EMBEDDEDCLASS:
        case CIMDataType::INVALID:
            break;
    }
    return visitor(std::type_identity<CIMClass>{});
}

template <class T>
inline constexpr bool isWireUnsigned =
    (std::is_unsigned_v<T> && !std::is_same_v<T, bool>) || std::is_same_v<T, Char16>;
template <class T>
inline constexpr bool isWireSigned = std::is_integral_v<T>&& std::is_signed_v<T>;
template <class T>
inline constexpr bool isWireText = std::is_same_v<T, String> || std::is_same_v<T, CIMDateTime>;

}  // namespace OpenWBEM::Codec
