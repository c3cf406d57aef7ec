// SPDX-License-Identifier: Apache-2.0
//
// Texts that hold what others wrote, on their way to somebody's terminal.
#pragma once

#include "blocxx/String.hpp"

namespace blocxx {

/// The text with all that a terminal could act on written out, as "\r" or "\x1b": control
/// characters other than line feed and tab, and bytes that are not UTF-8. All else is as it was,
/// backslashes included.
String printable(std::string_view text);

}  // namespace blocxx
