// SPDX-License-Identifier: Apache-2.0
//
// Takes a new password from whoever runs the program.
#pragma once

#include "blocxx/String.hpp"

namespace OwPasswd {

using blocxx::String;

/// Returns the hash of the password that is typed twice at the terminal of standard input, without
/// echo; or of the first line of a standard input that is no terminal. Passwords are overwritten in
/// memory. Throws blocxx::Exception when there is none, it cannot be used or the two differ, and
/// what Interruption::check() throws. The terminal is then as it was.
String askForPassword(const String& user);

}  // namespace OwPasswd
