// SPDX-License-Identifier: Apache-2.0
//
// The undo steps on files. A step that fails logs what to do by hand; it does not throw.
#pragma once

#include <sys/types.h>

#include "blocxx/File.hpp"

namespace KOVNS2 {

using blocxx::String;

void deleteFile(const String& path);
/// Closes the file if it is open, then deletes it even if closing failed.
void closeAndDeleteAllowedUsersFile(blocxx::File file, const String& path);
/// Creates the file, which must not exist, with `contents`, and makes it durable.
void cleanupWriteFile(const String& path, const String& contents);
/// Renames a backup back into place and sets its owner and mode.
void restoreFile(const String& backupPath, const String& targetPath, uid_t uid, gid_t gid,
                 mode_t mode);
/// Renames `from` to `to`, to take back a rename.
void RenameFileOrDir_Cleanup(const String& from, const String& to);
/// Deletes a working copy of the repository with everything in it.
void RemoveReposWorkCopyDir(const String& directory);

}  // namespace KOVNS2
