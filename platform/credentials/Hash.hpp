// SPDX-License-Identifier: Apache-2.0
//
// Salted hashes of passwords (yescrypt), for owpasswd, which makes them, and the daemon, which
// compares passwords with them. All have one cost, so that neither the time nor the memory of a
// comparison depends on what a file says or on whether a user is in it. A hash takes some 30
// milliseconds and 16 MiB.
#pragma once

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace Credentials {

using blocxx::String;

/// A password that cannot be used, or a hash that cannot be computed.
BLOCXX_DECLARE_EXCEPTION(Password)

constexpr size_t MAX_PASSWORD_SIZE = 256;

/// Makes a hash with a new salt. Throws PasswordException for a password that is empty, longer than
/// MAX_PASSWORD_SIZE bytes, or not UTF-8 without control characters: HTTP cannot carry others.
String hashPassword(const String& password);

/// Whether hashPassword() could have made it: its form, its method and its cost.
bool isHash(std::string_view text) noexcept;

/// Whether the hash is one of this password. Takes as long for a null `hash`, for what is no hash
/// and for a password that cannot be used; none of them matches. Throws PasswordException when
/// memory is short.
bool matches(const String* hash, const String& password);

/// Overwrites the text in memory and empties it.
void wipe(String& text) noexcept;

}  // namespace Credentials
