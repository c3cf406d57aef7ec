// SPDX-License-Identifier: Apache-2.0
//
// Work of root in directories that belong to the daemon's account, which may rename what is in them
// and put other things in its place at any time: everything is done relative to directories that
// are open, and no link is followed. All of it throws FileSystemException.
#pragma once

#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2::AccountDirectory {

using blocxx::String;

/// Opens the directory that the last name of the path stands in. Nobody but root can put anything
/// in that one's place.
blocxx::File openParentOf(const String& path);
/// Opens the one that stands in `parent` under the last name of the path.
blocxx::File openIn(const blocxx::File& parent, const String& path);
/// Opens the directory at the path.
blocxx::File open(const String& path);
/// The names of everything in it but its subdirectories.
blocxx::StringArray fileNames(const blocxx::File& directory);
/// Puts the directory at the path, with its files, on the disk.
void sync(const String& path);

}  // namespace KOVNS2::AccountDirectory
