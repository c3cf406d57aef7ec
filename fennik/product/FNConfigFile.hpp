// SPDX-License-Identifier: Apache-2.0
//
// A product's configuration snippet: a file in the daemon's drop-in directory that holds whatever
// text the product supplied. It is replaced by a rename only, so that the daemon never reads half
// of one. Failures are FennikException unless said otherwise.
#pragma once

#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

/// The snippet's content, empty when there is none. Throws FileSystemException when it cannot be
/// read, or when something else than a regular file is in its place.
String getConfigFile(const String& productName, const String& prefix);

/// Writes the snippet from a file below `prefix`, or from standard input when `source` is "-". More
/// than FileSystem::MAX_CONTENT_SIZE is refused.
void setConfigFile(const String& productName, const String& source, const String& prefix);

void setConfigFileFromString(const String& productName, const String& content,
                             const String& prefix);

/// Removes the snippet if there is one, and pushes the step that writes it back.
void rmConfigFile(const String& productName, const String& prefix, CleanupActions_t& undo);

}  // namespace KOVNS2
