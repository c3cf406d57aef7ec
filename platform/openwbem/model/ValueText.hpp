// SPDX-License-Identifier: Apache-2.0
//
// The texts of single values that object paths, MOF and messages share.
#pragma once

#include <charconv>
#include <concepts>

#include "openwbem/model/CIMValue.hpp"

namespace OpenWBEM::ValueText {

/// Appends the shortest text that reads back to the same bits, in the form that DSP0004 Annex A has
/// for reals: digits on both sides of a ".", then an exponent where it is shorter.
void appendReal(String& out, float value);
void appendReal(String& out, double value);

template <std::integral T>
void appendInteger(String& out, T value) {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    out.append(buffer, end);
}

/// Appends "\x" and four hex digits.
void appendHexEscape(String& out, char16_t unit);

/// Appends the character in single quotes, as a hex escape unless it is printable ASCII.
void appendQuotedChar(String& out, Char16 value);

inline const char* textOf(bool value) noexcept {
    return value ? "TRUE" : "FALSE";
}

}  // namespace OpenWBEM::ValueText
