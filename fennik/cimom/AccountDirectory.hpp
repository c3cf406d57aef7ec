// SPDX-License-Identifier: Apache-2.0
//
// File access, as root, in directories that belong to the daemon's account. The account may rename
// or replace their entries at any time, so every call is relative to an open directory and follows
// no link. Every function throws FileSystemException.
#pragma once

#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2::AccountDirectory {

using blocxx::String;

/// Opens the parent directory of `path`. Only root may be able to replace the parent itself.
blocxx::File openParentOf(const String& path);
/// Opens the directory in `parent` whose name is the last component of `path`.
blocxx::File openIn(const blocxx::File& parent, const String& path);
/// Opens the directory `path`.
blocxx::File open(const String& path);
/// The names of all entries except subdirectories.
blocxx::StringArray fileNames(const blocxx::File& directory);
/// Syncs the directory `path` and the regular files in it.
void sync(const String& path);

}  // namespace KOVNS2::AccountDirectory
