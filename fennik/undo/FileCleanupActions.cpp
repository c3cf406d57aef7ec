// SPDX-License-Identifier: Apache-2.0
//
// Each message uses errno as the failed call left it.
#include "fennik/undo/FileCleanupActions.hpp"

#include <cerrno>
#include <cstring>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Secure.hpp"
#include "fennik/common/Execute.hpp"
#include "fennik/common/FileUtils.hpp"
#include "fennik/common/UnitLog.hpp"
#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

namespace FileSystem = blocxx::FileSystem;
using blocxx::Format;
using UndoMessages::HEAD;
using UndoMessages::LEAD_IN;
using UndoMessages::LEAD_IN_LINE;

void deleteFile(const String& path) {
    if (FileSystem::removeFile(path)) {
        return;
    }
    const char* const reason = std::strerror(errno);
    logError(String(HEAD) +
             "The attempt to delete the file (in restoring things to initial state): " + path +
             " failed with error:\n" + reason + LEAD_IN + "delete the file.");
}

void closeAndDeleteAllowedUsersFile(blocxx::File file, const String& path) {
    if (file && file.close() != 0) {
        const char* const reason = std::strerror(errno);
        logError("Failed to close file: " + path + ": " + reason);
    }
    deleteFile(path);
}

namespace {

void reportUnrestored(const char* attempt, const String& path, const char* remedy,
                      const String& contents) {
    const char* const reason = std::strerror(errno);
    logError(String(HEAD) + attempt + path + " failed with error:" + reason + LEAD_IN + remedy +
             contents);
}

}  // namespace

void cleanupWriteFile(const String& path, const String& contents) {
    const FileSystem::WriteStep step = FileSystem::createNew(path, contents);
    if (step == FileSystem::WriteStep::CREATE) {
        reportUnrestored("The attempt to open the file: ", path, "create the file with contents:\n",
                         contents);
    } else if (step != FileSystem::WriteStep::DONE ||
               !FileSystem::syncDirectory(FileSystem::Path::dirname(path))) {
        reportUnrestored("The attempt to write to the file: ", path,
                         "write the file with contents:\n", contents);
    }
}

namespace {

/// What failed, with the reason; empty when the file is back.
String tryRestoreFile(const String& backupPath, const String& targetPath, uid_t uid, gid_t gid,
                      mode_t mode) {
    const auto withReason = [](const String& text) {
        return text + " (" + std::strerror(errno) + ")";
    };
    if (!FileSystem::exists(backupPath)) {
        return Format("Backup file: %1 did not exist.", backupPath);
    }
    // Looks for, and creates, the target's base name in the working directory.
    const String base = FileSystem::Path::basename(targetPath);
    if (!FileSystem::exists(base) && !FileSystem::makeDirectory(base, 0755)) {
        return withReason(Format("Could not create parent directory: %1", base));
    }
    if (!FileSystem::renameFile(backupPath, targetPath)) {
        return withReason(Format("Could not rename: %1 to %2", backupPath, targetPath));
    }
    // A failure to set the mode is reported as a failure to set the owner.
    if (!FileSystem::changeFileOwner(targetPath, uid, gid) ||
        !FileSystem::changeFileMode(targetPath, mode)) {
        return withReason(
            Format("Could not change owner of %1 to uid: %2, gid: %3", targetPath, uid, gid));
    }
    return {};
}

}  // namespace

void restoreFile(const String& backupPath, const String& targetPath, uid_t uid, gid_t gid,
                 mode_t mode) {
    const String failure = tryRestoreFile(backupPath, targetPath, uid, gid, mode);
    if (!failure.empty()) {
        logError(String(HEAD) + "Error: " + failure + "\n" + LEAD_IN +
                 "restore this and any other backup files in the backup directory to the target "
                 "directory.\n  (There may be other steps to make as well.  Please consult the "
                 "log for more information.)\n\n");
    }
}

void RenameFileOrDir_Cleanup(const String& from, const String& to) {
    if (FileSystem::renameFile(from, to)) {
        return;
    }
    const int errnum = errno;
    logError(HEAD + ("The attempt to rename the file " + from) + " to " + to +
             " failed with exit code " + std::to_string(errnum) + LEAD_IN +
             "rename the file manually.");
}

void RemoveReposWorkCopyDir(const String& directory) {
    // A large repository may take long. After a day the removal is assumed to hang. In seconds.
    constexpr int TIME_LIMIT = 86400;
    const String rm = FileUtils::locateExecutable("rm", KOVConstants::EXECUTABLE_DEFAULT_PATH);
    String output;
    blocxx::Process::Status status;
    if (executeUnprivilegedB(Format("%1 -rf %2", rm, directory), output, "executeUnprivileged: ",
                             "", &status, TIME_LIMIT, blocxx::Secure::minimalEnvironment())) {
        return;
    }
    logError(String(HEAD) + "The attempt to delete the directory: " + directory + "\n" +
             status.toString() + "\n" + output + "\n" + LEAD_IN_LINE +
             "delete the directory and its contents.");
}

}  // namespace KOVNS2
