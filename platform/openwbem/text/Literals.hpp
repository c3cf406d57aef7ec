// SPDX-License-Identifier: Apache-2.0
//
// What single tokens of a text mean, as yet without a type: numbers, and what stands in quotes
// (DSP0004 7.11 and Annex A).
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
/// Throws the CompileError for the quote at `begin`, which begins nothing that the scanner knows:
/// why is found in what follows, up to `end`. `what` has its article: "a string literal".
[[noreturn]] void failQuoted(const char* begin, const char* end, std::string_view what);
/// A real number; integers are reals too. False when it is out of range.
bool readReal(std::string_view token, float& value) noexcept;
bool readReal(std::string_view token, double& value) noexcept;

}  // namespace OpenWBEM
