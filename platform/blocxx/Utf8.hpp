// SPDX-License-Identifier: Apache-2.0
//
// UTF-8 as RFC 3629 defines it: no overlong forms, no surrogates, nothing above U+10FFFF.
#pragma once

#include <cstdint>

#include "blocxx/String.hpp"

namespace blocxx::Utf8 {

/// The offset of the first byte that is not part of valid UTF-8, or npos.
size_t findInvalid(std::string_view text) noexcept;
/// The length in bytes of the character at `offset`, 0 when it is not valid.
size_t lengthAt(std::string_view text, size_t offset) noexcept;
/// Appends the code point. Returns false and appends nothing for one that is not a scalar value.
bool append(String& out, uint32_t codePoint);
/// Reads the code point at `offset` of valid UTF-8 and moves `offset` past it.
uint32_t next(std::string_view text, size_t& offset) noexcept;

}  // namespace blocxx::Utf8
