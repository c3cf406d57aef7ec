// SPDX-License-Identifier: Apache-2.0
//
// Validates names of CIM elements (DSP0004 Annex A, IDENTIFIER).
#pragma once

#include <string_view>

namespace OpenWBEM {

inline bool isIdentifierStart(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

inline bool isIdentifierPart(char c) noexcept {
    return isIdentifierStart(c) || (c >= '0' && c <= '9');
}

/// A letter, an underscore or a character above U+007F, followed by any number of these and digits;
/// valid UTF-8.
bool isIdentifier(std::string_view text) noexcept;

/// Identifiers joined by "/".
bool isNamespaceName(std::string_view text) noexcept;

}  // namespace OpenWBEM
