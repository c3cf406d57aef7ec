// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/HardLinkBackup.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>

#include "blocxx/FileSystem.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/TemporaryDirectory.hpp"

namespace KOVNS2 {

using Testing::CapturedLog;
using Testing::readFile;
using Testing::writeFile;
namespace fs = std::filesystem;

namespace {

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

}  // namespace

class HardLinkBackupTest : public testing::Test {
protected:
    HardLinkBackupTest() {
        fs::create_directory(directory);
        fs::permissions(directory, fs::perms(0750));
        writeFile(directory / "one", "first");
        writeFile(directory / "two", "second");
        inode = statusOf(directory / "one").st_ino;
    }

    void keep() { kept.emplace(directory.string(), keeper.string()); }

    void expectEverythingIsBack() {
        EXPECT_EQ(readFile(directory / "one"), "first");
        EXPECT_EQ(readFile(directory / "two"), "second");
        EXPECT_EQ(statusOf(directory / "one").st_ino, inode);
        EXPECT_EQ(statusOf(directory / "one").st_nlink, 1U);
        EXPECT_EQ(statusOf(directory).st_mode & 07777, 0750U);
        EXPECT_FALSE(fs::exists(keeper));
        EXPECT_TRUE(log.errors().empty());
    }

    CapturedLog log;
    Testing::TemporaryDirectory temporary;
    fs::path directory = temporary.path() / "repository";
    fs::path keeper = temporary.path() / "keeper";
    ino_t inode = 0;
    std::optional<HardLinkBackup> kept;
};

TEST_F(HardLinkBackupTest, LeavesNothingBehindWhenItGoes) {
    keep();
    EXPECT_EQ(readFile(keeper / "one"), "first");
    EXPECT_EQ(statusOf(keeper).st_mode & 07777, 0700U);
    kept.reset();
    expectEverythingIsBack();
}

TEST_F(HardLinkBackupTest, PutsBackAFileThatIsMissing) {
    keep();
    fs::remove(directory / "one");
    kept->putBack(directory.string());
    expectEverythingIsBack();
}

TEST_F(HardLinkBackupTest, PutsBackAFileThatWasReplaced) {
    keep();
    fs::remove(directory / "one");
    writeFile(directory / "one", "something else");
    kept->putBack(directory.string());
    expectEverythingIsBack();
}

TEST_F(HardLinkBackupTest, PutsBackTheWholeDirectory) {
    keep();
    fs::remove_all(directory);
    kept->putBack(directory.string());
    expectEverythingIsBack();
}

TEST_F(HardLinkBackupTest, PutsBackNothingWhenNothingIsMissing) {
    keep();
    kept->putBack(directory.string());
    expectEverythingIsBack();
}

TEST_F(HardLinkBackupTest, FollowsTheDirectoryToItsNewName) {
    keep();
    const fs::path moved = temporary.path() / "moved";
    fs::rename(directory, moved);
    fs::remove(moved / "two");
    kept->putBack(moved.string());
    fs::rename(moved, directory);
    expectEverythingIsBack();
}

TEST_F(HardLinkBackupTest, KeepsALinkAsALink) {
    fs::create_symlink("nowhere", directory / "link");
    keep();
    fs::remove_all(directory);
    kept->putBack(directory.string());
    EXPECT_EQ(fs::read_symlink(directory / "link"), "nowhere");
    expectEverythingIsBack();
}

TEST_F(HardLinkBackupTest, ReplacesWhatAKilledRunHasLeft) {
    fs::create_directory(keeper);
    writeFile(keeper / "old", "left");
    writeFile(keeper / "one", "left");
    keep();
    EXPECT_EQ(readFile(keeper / "one"), "first");
    EXPECT_FALSE(fs::exists(keeper / "old"));
}

TEST_F(HardLinkBackupTest, NeverFollowsALinkInItsPlace) {
    const fs::path elsewhere = temporary.path() / "elsewhere";
    fs::create_directory(elsewhere);
    writeFile(elsewhere / "precious", "kept");
    fs::create_directory_symlink(elsewhere, keeper);
    EXPECT_THROW(keep(), blocxx::FileSystemException);
    EXPECT_EQ(readFile(elsewhere / "precious"), "kept");
    EXPECT_FALSE(fs::exists(elsewhere / "one"));
}

TEST_F(HardLinkBackupTest, StaysInTheDirectoryThatItBeganInWhateverTakesItsName) {
    const fs::path parent = temporary.path() / "parent";
    fs::create_directory(parent);
    fs::rename(directory, parent / "repository");
    const fs::path moved = temporary.path() / "moved";
    const fs::path elsewhere = temporary.path() / "elsewhere";
    for (const bool isPutBack : {false, true}) {
        kept.emplace((parent / "repository").string(), (parent / "keeper").string());
        fs::rename(parent, moved);
        fs::create_directories(elsewhere / "keeper");
        fs::create_directory_symlink(elsewhere, parent);
        if (isPutBack) {
            fs::remove_all(moved / "repository");
            kept->putBack((parent / "repository").string());
        }
        kept.reset();
        EXPECT_TRUE(fs::exists(elsewhere / "keeper"));
        EXPECT_FALSE(fs::exists(elsewhere / "repository"));
        EXPECT_FALSE(fs::exists(moved / "keeper"));
        fs::remove(parent);
        fs::rename(moved, parent);
    }
    fs::rename(parent / "repository", directory);
    expectEverythingIsBack();
}

TEST_F(HardLinkBackupTest, DropsNothingFromADirectoryOfSomebodyElse) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a directory away";
    }
    fs::create_directory(keeper);
    writeFile(keeper / "precious", "kept");
    ASSERT_EQ(::chown(keeper.c_str(), 65533, 65533), 0);
    EXPECT_THROW(keep(), blocxx::FileSystemException);
    EXPECT_EQ(readFile(keeper / "precious"), "kept");
}

TEST_F(HardLinkBackupTest, RefusesADirectoryThatIsNotThere) {
    fs::remove_all(directory);
    EXPECT_THROW(keep(), blocxx::FileSystemException);
    EXPECT_FALSE(fs::exists(keeper));
}

TEST_F(HardLinkBackupTest, StaysWhenItCannotBePutBack) {
    keep();
    fs::remove_all(directory);
    writeFile(directory, "in the way");
    kept->putBack(directory.string());
    kept.reset();
    EXPECT_EQ(readFile(keeper / "one"), "first");
    ASSERT_EQ(log.errors().size(), 1U);
    EXPECT_NE(log.errors()[0].find("move the files in " + keeper.string()), String::npos);
}

}  // namespace KOVNS2
