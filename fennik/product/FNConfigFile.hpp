// SPDX-License-Identifier: Apache-2.0
//
// A product's configuration snippet: a file in the daemon's drop-in directory with any text that
// the product supplied. It is replaced by a rename, so the daemon never reads half of one. Failures
// are FennikException unless said otherwise. Paths are below `prefix`.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

/// The snippet's content; empty when there is no snippet. Throws FileSystemException when it cannot
/// be read or is not a regular file.
String getConfigFile(const String& productName, const String& prefix);

/// Replaces the snippet by the content of the file `source`, or of standard input when `source` is
/// "-". Throws FileSystemException when that cannot be read or is larger than
/// FileSystem::MAX_CONTENT_SIZE. On failure the old snippet stays, except that the new one is in
/// place when only syncing the directory failed.
void setConfigFile(const String& productName, const String& source, const String& prefix);
/// The same for `content`, of any size.
void setConfigFileFromString(const String& productName, const String& content,
                             const String& prefix);

/// Removes the snippet if there is one, and pushes the undo step that writes it back. Throws
/// FileSystemException when it cannot be read or is not a regular file.
void rmConfigFile(const String& productName, const String& prefix, CleanupActions_t& undo);

}  // namespace KOVNS2
