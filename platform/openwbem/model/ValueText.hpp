// SPDX-License-Identifier: Apache-2.0
//
// The texts of single values that object paths, MOF and messages share.
#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>

#include "openwbem/model/CIMValue.hpp"

namespace OpenWBEM::ValueText {

template <std::integral T>
void appendNumber(String& out, T value) {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    out.append(buffer, end);
}

/// Appends the shortest text that reads back to the same bits, in the form that DSP0004 Annex A has
/// for reals: digits on both sides of a ".", then an exponent where it is shorter.
template <std::floating_point T>
void appendNumber(String& out, T value) {
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    const std::string_view text(buffer, static_cast<size_t>(end - buffer));
    const size_t exponent = std::min(text.find('e'), text.size());
    out += text.substr(0, exponent);
    if (text.find('.') == std::string_view::npos) {
        out += ".0";
    }
    out += text.substr(exponent);
}

/// Appends "\x" and four hex digits.
void appendHexEscape(String& out, char16_t unit);

/// Appends the character in single quotes, as a hex escape unless it is printable ASCII.
void appendQuotedChar(String& out, Char16 value);

inline const char* textOf(bool value) noexcept {
    return value ? "TRUE" : "FALSE";
}

}  // namespace OpenWBEM::ValueText
