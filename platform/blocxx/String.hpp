// SPDX-License-Identifier: Apache-2.0
//
// The string and array types that the whole system uses, which are the standard ones, and the few
// operations on them that the standard library lacks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace blocxx {

using String = std::string;

template <class T>
using Array = std::vector<T>;

using StringArray = Array<String>;

/// Splits `text` at every character of `separators`; empty pieces are dropped.
StringArray tokenize(std::string_view text, std::string_view separators = " \n\r\t\v");

/// Equality that ignores the case of ASCII letters.
bool equalsIgnoreCase(std::string_view left, std::string_view right) noexcept;

/// Three-way order that ignores the case of ASCII letters: negative, zero or positive.
int compareIgnoreCase(std::string_view left, std::string_view right) noexcept;

/// `text` with its ASCII letters in lower case.
String toLower(std::string_view text);

}  // namespace blocxx
