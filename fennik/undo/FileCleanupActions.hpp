// SPDX-License-Identifier: Apache-2.0
//
// The undo steps on files. They report their own failure and do not throw for it.
#pragma once

#include <sys/types.h>

#include "blocxx/File.hpp"

namespace KOVNS2 {

using blocxx::String;

void deleteFile(const String& path);
/// Closes the file if it is still open and deletes it in any case.
void closeAndDeleteAllowedUsersFile(blocxx::File file, const String& path);
/// Creates the file with these contents.
void cleanupWriteFile(const String& path, const String& contents);
/// Moves a backup back into place, with that owner and mode.
void restoreFile(const String& backupPath, const String& targetPath, uid_t uid, gid_t gid,
                 mode_t mode);
/// Takes back a rename.
void RenameFileOrDir_Cleanup(const String& from, const String& to);
/// Removes a working copy of the repository with everything in it.
void RemoveReposWorkCopyDir(const String& directory);

}  // namespace KOVNS2
