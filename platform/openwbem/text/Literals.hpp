// SPDX-License-Identifier: Apache-2.0
//
// The values of number tokens and quoted tokens (DSP0004 7.11 and Annex A).
#pragma once

#include "openwbem/text/SourceText.hpp"

namespace OpenWBEM {

/// An integer as written. `tooLarge` when its magnitude does not fit.
struct IntegerLiteral {
    bool negative;
    bool tooLarge;
    uint64_t magnitude;
};

IntegerLiteral readInteger(std::string_view token) noexcept;
/// Appends the text of a string token. Throws CompileError.
void appendString(String& out, const Text& token);
/// The text of a string token. Throws CompileError.
String readString(const Text& token);
/// The code unit of a character literal. Throws CompileError.
char16_t readChar(const Text& token);
/// Throws the CompileError for the quote at `begin`, which begins no valid token. Finds the reason
/// in the text up to `end`. `what` is the token's name with its article: "a string literal".
[[noreturn]] void failQuoted(const char* begin, const char* end, std::string_view what);
/// Reads a real number or an integer. False when it is out of range.
bool readReal(std::string_view token, float& value) noexcept;
bool readReal(std::string_view token, double& value) noexcept;

}  // namespace OpenWBEM
