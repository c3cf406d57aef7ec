// SPDX-License-Identifier: Apache-2.0
//
// Writing a file and its name so that they survive a power cut. The failure of each step is
// reported.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "blocxx/FileSystem.hpp"
#include "tests/unit/blocxx/TemporaryDirectory.hpp"

namespace blocxx {
namespace {

using FileSystem::WriteStep;
using ::testing::HasSubstr;

class DurableFile : public ::testing::Test {
protected:
    String path() const { return m_directory.path() + "/file"; }

    TemporaryDirectory m_directory;
};

TEST_F(DurableFile, IsWrittenAsAWholeAndClosed) {
    File file = FileSystem::createFile(path());
    const String content(100'000, 'c');
    EXPECT_EQ(FileSystem::writeDurably(file, content), WriteStep::DONE);
    EXPECT_FALSE(file);
    EXPECT_EQ(FileSystem::getFileContents(path()), content);
    FileSystem::syncName(path());
}

TEST_F(DurableFile, StaysOpenWhenItCannotBeWritten) {
    FileSystem::createFile(path());
    File file(::open(path().c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(FileSystem::writeDurably(file, "content"), WriteStep::WRITE);
    EXPECT_EQ(errno, EBADF);
    EXPECT_TRUE(file);
}

TEST_F(DurableFile, TellsWhatStoppedItHalfWay) {
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    struct rlimit small = before;
    small.rlim_cur = 3;
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    File file = FileSystem::createFile(path());
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const WriteStep failed = FileSystem::writeDurably(file, "content");
    const int errnum = errno;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(failed, WriteStep::WRITE_REST);
    EXPECT_EQ(errnum, EFBIG);
    EXPECT_EQ(FileSystem::getFileContents(path()), "con");
}

TEST_F(DurableFile, TellsWhatCannotBeSynced) {
    // A pipe can be written and cannot be synced.
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const File reading(ends[0]);
    File writing(ends[1]);
    EXPECT_EQ(FileSystem::writeDurably(writing, "content"), WriteStep::SYNC);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(DurableFile, IsCreatedOrNothingIsTouched) {
    EXPECT_EQ(FileSystem::createNew(path(), "content"), WriteStep::DONE);
    EXPECT_EQ(FileSystem::createNew(path(), "other"), WriteStep::CREATE);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(FileSystem::getFileContents(path()), "content");
    ASSERT_EQ(::symlink("elsewhere", (m_directory.path() + "/link").c_str()), 0);
    EXPECT_EQ(FileSystem::createNew(m_directory.path() + "/link", "content"), WriteStep::CREATE);
    EXPECT_FALSE(FileSystem::exists(m_directory.path() + "/elsewhere"));
}

TEST_F(DurableFile, NamesTheDirectoryThatCannotBeSynced) {
    try {
        FileSystem::syncName(m_directory.path() + "/missing/file");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FileSystemException& e) {
        EXPECT_EQ(e.getErrorCode(), ENOENT);
        EXPECT_THAT(e.getMessage(), HasSubstr("Cannot put the directory \"" + m_directory.path() +
                                              "/missing\" on the disk"));
    }
}

}  // namespace
}  // namespace blocxx
