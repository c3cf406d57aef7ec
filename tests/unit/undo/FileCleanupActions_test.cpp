// SPDX-License-Identifier: Apache-2.0
//
// The undo steps on files: what they do, and the exact message when they fail.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "blocxx/FileSystem.hpp"
#include "fennik/common/FileUtils.hpp"
#include "fennik/undo/FileCleanupActions.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/TemporaryDirectory.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;

class FileUndoSteps : public ::testing::Test {
protected:
    String path(const char* name) const { return (m_directory.path() / name).string(); }

    String onlyError() const {
        EXPECT_EQ(m_log.errors().size(), 1U);
        return m_log.errors().empty() ? String() : m_log.errors().front();
    }

    const String m_head =
        "The operation failed, and restoration to the previous state has also failed.\n";
    const String m_leadIn =
        "\nOnce the cause of the error has been resolved, to restore KOV to a valid state you "
        "should\n";
    TemporaryDirectory m_directory;
    CapturedLog m_log;
};

TEST_F(FileUndoSteps, DeleteFileRemovesTheFile) {
    writeFile(path("a"), "x");
    deleteFile(path("a"));
    EXPECT_FALSE(fs::exists(path("a")));
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(FileUndoSteps, DeleteFileSaysWhatToDelete) {
    deleteFile(path("none"));
    EXPECT_EQ(onlyError(),
              m_head + "The attempt to delete the file (in restoring things to initial state): " +
                  path("none") + " failed with error:\nNo such file or directory" + m_leadIn +
                  "delete the file.");
}

TEST_F(FileUndoSteps, AllowedUsersFileIsClosedAndDeleted) {
    blocxx::File file = blocxx::FileSystem::createFile(path("users"));
    closeAndDeleteAllowedUsersFile(file, path("users"));
    EXPECT_FALSE(file);
    EXPECT_FALSE(fs::exists(path("users")));
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(FileUndoSteps, AllowedUsersFileThatCannotBeClosedIsStillDeleted) {
    blocxx::File file = blocxx::FileSystem::createFile(path("users"));
    ::close(file.getFileDescriptor());
    closeAndDeleteAllowedUsersFile(file, path("users"));
    EXPECT_EQ(onlyError(), "Failed to close file: " + path("users") + ": Bad file descriptor");
    EXPECT_FALSE(fs::exists(path("users")));
}

TEST_F(FileUndoSteps, AllowedUsersFileThatIsClosedAlreadyIsDeleted) {
    writeFile(path("users"), "x");
    closeAndDeleteAllowedUsersFile(blocxx::File(), path("users"));
    EXPECT_FALSE(fs::exists(path("users")));
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(FileUndoSteps, CleanupWriteFilePutsTheContentsBack) {
    const String contents("a = b\n\0\xff", 8);
    cleanupWriteFile(path("conf"), contents);
    EXPECT_EQ(readFile(path("conf")), contents);
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(FileUndoSteps, CleanupWriteFileOnAnUnwritablePathLogsTheFullContents) {
    cleanupWriteFile(path("no/conf"), "a = %1\nb\n");
    EXPECT_EQ(onlyError(), m_head + "The attempt to open the file: " + path("no/conf") +
                               " failed with error:No such file or directory" + m_leadIn +
                               "create the file with contents:\na = %1\nb\n");
}

TEST_F(FileUndoSteps, RestoreFileMovesTheBackupAndSetsOwnerAndMode) {
    const fs::path here = fs::current_path();
    fs::current_path(m_directory.path());
    writeFile(path("target"), "new");
    writeFile(path("backup"), "old");
    restoreFile(path("backup"), path("target"), ::geteuid(), ::getegid(), 0640);
    fs::current_path(here);
    EXPECT_TRUE(m_log.errors().empty());
    EXPECT_EQ(readFile(path("target")), "old");
    EXPECT_FALSE(fs::exists(path("backup")));
    EXPECT_EQ(fs::status(path("target")).permissions(), fs::perms(0640));
}

class RestoreFile : public FileUndoSteps {
protected:
    RestoreFile() { fs::current_path(m_directory.path()); }
    ~RestoreFile() override { fs::current_path(m_here); }

    String restoreError(const String& what) const {
        return m_head + "Error: " + what + "\n" + m_leadIn +
               "restore this and any other backup files in the backup directory to the target "
               "directory.\n  (There may be other steps to make as well.  Please consult the log "
               "for more information.)\n\n";
    }
    const fs::path m_here = fs::current_path();
};

TEST_F(RestoreFile, MissingBackupIsReportedWithoutASystemError) {
    restoreFile(path("%2"), path("target"), 0, 0, 0644);
    EXPECT_EQ(onlyError(), restoreError("Backup file: " + path("%2") + " did not exist."));
}

TEST_F(RestoreFile, BaseNameThatCannotBeMadeIsReported) {
    writeFile(path("backup"), "x");
    const String longName(300, 'x');
    restoreFile(path("backup"), "/" + longName, 0, 0, 0644);
    EXPECT_EQ(onlyError(), restoreError("Could not create parent directory: " + longName +
                                        " (File name too long)"));
}

TEST_F(RestoreFile, RenameThatFailsIsReported) {
    writeFile(path("backup"), "x");
    restoreFile(path("backup"), path("no/target"), 0, 0, 0644);
    EXPECT_EQ(onlyError(), restoreError("Could not rename: " + path("backup") + " to " +
                                        path("no/target") + " (No such file or directory)"));
    EXPECT_TRUE(fs::is_directory(path("target")));
}

/// Makes the process a user without privileges who owns the directory, while it lives. As root the
/// tests would run external programs as the daemon's account and could change owners.
class Unprivileged {
public:
    explicit Unprivileged(const fs::path& directory) {
        if (m_wasRoot &&
            (::chown(directory.c_str(), NOBODY, NOBODY) != 0 || ::seteuid(NOBODY) != 0)) {
            ADD_FAILURE() << "cannot become another user";
        }
    }
    ~Unprivileged() {
        if (m_wasRoot && ::seteuid(0) != 0) {
            ADD_FAILURE() << "cannot become root again";
        }
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    static constexpr uid_t NOBODY = 65534;
    const bool m_wasRoot = ::geteuid() == 0;
};

TEST_F(RestoreFile, OwnerThatCannotBeSetIsReported) {
    const Unprivileged user(m_directory.path());
    writeFile(path("target"), "new");
    writeFile(path("backup"), "x");
    restoreFile(path("backup"), path("target"), 0, 0, 0644);
    EXPECT_EQ(onlyError(), restoreError("Could not change owner of " + path("target") +
                                        " to uid: 0, gid: 0 (Operation not permitted)"));
}

TEST_F(FileUndoSteps, RenameBackRenames) {
    fs::create_directory(path("from"));
    RenameFileOrDir_Cleanup(path("from"), path("to"));
    EXPECT_TRUE(fs::is_directory(path("to")));
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(FileUndoSteps, RenameBackThatFailsGivesTheErrorNumber) {
    RenameFileOrDir_Cleanup(path("from"), path("to"));
    EXPECT_EQ(onlyError(), m_head + "The attempt to rename the file " + path("from") + " to " +
                               path("to") + " failed with exit code 2" + m_leadIn +
                               "rename the file manually.");
}

TEST_F(FileUndoSteps, WorkingCopyIsRemovedWithItsContents) {
    const Unprivileged user(m_directory.path());
    fs::create_directories(path("copy/sub"));
    writeFile(path("copy/sub/file"), "x");
    RemoveReposWorkCopyDir(path("copy"));
    EXPECT_FALSE(fs::exists(path("copy")));
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(FileUndoSteps, WorkingCopyThatCannotBeRemovedIsNamed) {
    const Unprivileged user(m_directory.path());
    fs::create_directories(path("copy/sub/below"));
    fs::permissions(path("copy/sub"), fs::perms(0500));
    const String rm = FileUtils::locateExecutable("rm", KOVConstants::EXECUTABLE_DEFAULT_PATH);
    RemoveReposWorkCopyDir(path("copy"));
    EXPECT_EQ(onlyError(), m_head + "The attempt to delete the directory: " + path("copy") +
                               "\nexited with status 1\n" + rm + ": cannot remove '" +
                               path("copy/sub/below") + "': Permission denied\n" + m_leadIn +
                               "delete the directory and its contents.");
    fs::permissions(path("copy/sub"), fs::perms(0700));
}

}  // namespace
}  // namespace KOVNS2::Testing
