// SPDX-License-Identifier: Apache-2.0
//
// Makes text from others safe for a terminal.
#pragma once

#include "blocxx/String.hpp"

namespace blocxx {

/// Writes out what a terminal could act on, as "\r" or "\x1b": control characters other than line
/// feed and tab, and bytes that are not UTF-8. Everything else stays, backslashes included.
String printable(std::string_view text);

/// Writes out what would end a line or a field in it: "\n", "\r" and "\t". What printable()
/// writes out besides stays.
String oneLine(std::string_view text);

}  // namespace blocxx
