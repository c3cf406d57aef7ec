// SPDX-License-Identifier: Apache-2.0
//
// The directories of an installation, with their owners, modes and access lists.
#pragma once

#include <optional>

#include "blocxx/Process.hpp"
#include "layout/Layout.hpp"

namespace KovSetup {

using blocxx::String;

/// Makes the missing directories. Sets owners and access lists when `account` is given. Throws
/// blocxx::Exception.
void makeDirectories(const Layout::Tree& tree,
                     const std::optional<blocxx::Process::Identity>& account);

/// Makes a directory, which must not exist, with mode 0700. Throws blocxx::Exception.
void makePrivateDirectory(const String& path);

/// Gives a private directory and its files to the account. The directory comes last: until then
/// only root can reach the files. Throws blocxx::Exception.
void handOver(const String& directory, const blocxx::Process::Identity& account);

/// Writes the default configuration file unless `path` exists. Throws blocxx::Exception.
void writeDefaultConfig(const String& path);

/// Whether the path exists, a dangling link included. Throws blocxx::Exception when that cannot be
/// found out.
[[nodiscard]] bool isTaken(const String& path);

}  // namespace KovSetup
