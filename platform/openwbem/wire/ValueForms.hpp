// SPDX-License-Identifier: Apache-2.0
//
// How values travel, for the encoder and the decoder: limits and kinds of C++ types.
#pragma once

#include "openwbem/model/ValueTypes.hpp"

namespace OpenWBEM::Codec {

/// The deepest nesting of objects in values of objects. It bounds the recursion of decoding.
/// Encoding has the same limit, so that everything encoded can be decoded.
inline constexpr unsigned MAX_OBJECT_DEPTH = 16;
/// The most Cap'n Proto pointers on the way from one object to an object in one of its values:
/// class, methods, method, parameters, parameter, qualifiers, qualifier, value, list, object.
inline constexpr unsigned POINTERS_PER_OBJECT = 12;

template <class T>
inline constexpr bool isWireUnsigned =
    (std::is_unsigned_v<T> && !std::is_same_v<T, bool>) || std::is_same_v<T, Char16>;
template <class T>
inline constexpr bool isWireSigned = std::is_integral_v<T>&& std::is_signed_v<T>;
template <class T>
inline constexpr bool isWireText = std::is_same_v<T, String> || std::is_same_v<T, CIMDateTime>;

}  // namespace OpenWBEM::Codec
