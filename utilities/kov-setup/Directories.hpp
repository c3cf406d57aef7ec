// SPDX-License-Identifier: Apache-2.0
//
// The directories and the default configuration file of an installation.
#pragma once

#include "blocxx/Process.hpp"
#include "layout/Layout.hpp"

namespace KovSetup {

using blocxx::String;

/// Makes the missing directories, with mode 0755. Throws blocxx::Exception.
void makeDirectories(const Layout::Tree& tree);

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
