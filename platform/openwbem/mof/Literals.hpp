// SPDX-License-Identifier: Apache-2.0
//
// What single literals of the text mean (DSP0004 7.11 and Annex A), as yet without a CIM type.
#pragma once

#include "openwbem/mof/SourceText.hpp"
#include "openwbem/mof/SyntaxTree.hpp"

namespace OpenWBEM::MOF {

/// An integer as written. `tooLarge` when its magnitude does not fit.
struct IntegerLiteral {
    bool negative;
    bool tooLarge;
    uint64_t magnitude;
};

IntegerLiteral readInteger(std::string_view token) noexcept;
/// The text of a string, all its pieces joined. Throws CompileError.
String readString(const Literal& literal);
/// The same of a single string token.
String readString(const Text& token);
/// The code unit of a character literal. Throws CompileError.
char16_t readChar(const Text& token);
/// A real number; integers are reals too. False when it is out of range.
bool readReal(std::string_view token, float& value) noexcept;
bool readReal(std::string_view token, double& value) noexcept;

}  // namespace OpenWBEM::MOF
