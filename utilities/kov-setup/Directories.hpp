// SPDX-License-Identifier: Apache-2.0
//
// The directories of an installation, with their owners, modes and access lists.
#pragma once

#include <optional>

#include "blocxx/Process.hpp"
#include "layout/Layout.hpp"

namespace KovSetup {

using blocxx::String;

/// Makes what is missing. Owners and access lists are set when there is an account. Throws
/// SetupException.
void makeDirectories(const Layout::Tree& tree,
                     const std::optional<blocxx::Process::Identity>& account);

/// Makes a directory that must not be there yet, open to its owner only. Throws SetupException.
void makePrivateDirectory(const String& path);

/// Gives a private directory and the files in it to the account, the directory last: until then
/// nobody but root can reach into it. Throws SetupException.
void handOver(const String& directory, const blocxx::Process::Identity& account);

/// Writes the default configuration file when there is none. Throws SetupException or
/// FileSystemException.
void writeDefaultConfig(const String& path);

/// Whether anything has that name, a dangling link included. Throws SetupException when it cannot
/// be told.
[[nodiscard]] bool isTaken(const String& path);

}  // namespace KovSetup
