// SPDX-License-Identifier: Apache-2.0
//
// Calls on files and directories: what they create and refuse, and which errno they leave.
#include "blocxx/FileSystem.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <thread>

#include "tests/unit/blocxx/TemporaryDirectory.hpp"

namespace FileSystem = blocxx::FileSystem;
using blocxx::File;
using blocxx::String;
using testing::HasSubstr;

namespace {

mode_t modeOf(const String& path) {
    struct stat info = {};
    return lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777U : 0;
}

class Files : public testing::Test {
protected:
    Files() : m_umask(umask(022)) {}
    ~Files() override { umask(m_umask); }

    void write(const String& name, const String& text) { std::ofstream(m_dir / name) << text; }

    TemporaryDirectory m_dir;
    mode_t m_umask;
};

TEST_F(Files, AreCreatedExclusivelyUnderTheUmask) {
    umask(027);
    File file = FileSystem::createFile(m_dir / "f");
    ASSERT_TRUE(file);
    EXPECT_EQ(modeOf(m_dir / "f"), 0640U);
    EXPECT_FALSE(FileSystem::createFile(m_dir / "f"));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_FALSE(FileSystem::createFile(m_dir / "missing/f"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Files, AreNotCreatedThroughALink) {
    ASSERT_EQ(symlink((m_dir / "target").c_str(), (m_dir / "link").c_str()), 0);
    EXPECT_FALSE(FileSystem::createFile(m_dir / "link"));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_FALSE(FileSystem::openOrCreateFile(m_dir / "link"));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(FileSystem::exists(m_dir / "target"));
}

TEST_F(Files, AreOpenedOrCreatedKeepingTheirContent) {
    File created = FileSystem::openOrCreateFile(m_dir / "f");
    ASSERT_TRUE(created);
    EXPECT_EQ(created.write("abc", 3), 3);
    EXPECT_TRUE(FileSystem::openOrCreateFile(m_dir / "f"));
    EXPECT_EQ(FileSystem::getFileContents(m_dir / "f"), "abc");
}

TEST_F(Files, AreReadFromTheCurrentOffset) {
    write("f", "abc");
    File file = FileSystem::openOrCreateFile(m_dir / "f");
    EXPECT_EQ(file.write("x", 1), 1);
    EXPECT_EQ(FileSystem::readToEnd(file, "f"), "bc");
    EXPECT_EQ(FileSystem::getFileContents(m_dir / "f"), "xbc");
}

TEST_F(Files, CloseOnExec) {
    for (const File& file :
         {FileSystem::createFile(m_dir / "f"), FileSystem::openOrCreateFile(m_dir / "f")}) {
        EXPECT_TRUE(fcntl(file.getFileDescriptor(), F_GETFD) & FD_CLOEXEC);
    }
}

TEST_F(Files, ShareOneDescriptorAmongCopies) {
    File file = FileSystem::createFile(m_dir / "f");
    const int fd = file.getFileDescriptor();
    {
        const File copy = file;
        EXPECT_EQ(copy.getFileDescriptor(), fd);
    }
    EXPECT_NE(fcntl(fd, F_GETFD), -1);
    File copy = file;
    EXPECT_EQ(copy.close(), 0);
    EXPECT_FALSE(file);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST_F(Files, CloseWithTheLastCopyAndKeepErrno) {
    int fd = -1;
    {
        const File file = FileSystem::createFile(m_dir / "f");
        fd = file.getFileDescriptor();
        errno = ENOSPC;
    }
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST(ClosedFile, FailsEveryOperationWithErrno) {
    File file;
    char byte = 0;
    EXPECT_FALSE(file);
    EXPECT_FALSE(File(-1));
    const std::function<ssize_t()> operations[] = {
        [&] { return file.write("a", 1); }, [&] { return file.read(&byte, 1); },
        [&] { return file.flush(); }, [&] { return file.close(); },
        [&] { return file.getLock(File::E_WRITE_LOCK); }};
    for (const auto& operation : operations) {
        errno = 0;
        EXPECT_EQ(operation(), -1);
        EXPECT_EQ(errno, EBADF);
    }
}

TEST(FullDevice, MakesWritingFailWithItsReason) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    File file = FileSystem::openOrCreateFile("/dev/full");
    EXPECT_EQ(file.write("abc", 3), -1);
    EXPECT_EQ(errno, ENOSPC);
}

TEST(ClosingFile, ReportsErrno) {
    const int fd = open("/dev/null", O_RDWR | O_CLOEXEC);
    File file(fd);
    ::close(fd);
    EXPECT_EQ(file.close(), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_FALSE(file);
}

/// Runs `body` in a child. Returns the child's exit status.
template <class Body>
int inChild(Body body) {
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(body());
    }
    int status = -1;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Files, WithANulInTheirPathAreRefusedAndNotCutThere) {
    const String plain = m_dir / "f";
    const String path = plain + String("\0/rest", 6);
    ASSERT_TRUE(FileSystem::createFile(plain));
    const std::function<void()> calls[] = {
        [&] { FileSystem::createFile(path); },
        [&] { FileSystem::openOrCreateFile(path); },
        [&] { FileSystem::exists(path); },
        [&] { FileSystem::isDirectory(path); },
        [&] { FileSystem::canExecute(path); },
        [&] { FileSystem::removeFile(path); },
        [&] { FileSystem::renameFile(path, plain); },
        [&] { FileSystem::renameFile(plain, path); },
        [&] { FileSystem::makeDirectory(path, 0700); },
        [&] { FileSystem::changeFileOwner(path, 0, 0); },
        [&] { FileSystem::changeFileMode(path, 0); },
        [&] { FileSystem::syncDirectory(path); },
        [&] { FileSystem::getFileContents(path); },
    };
    for (const auto& call : calls) {
        try {
            call();
            ADD_FAILURE() << "call " << &call - calls;
        } catch (const blocxx::FileSystemException& e) {
            EXPECT_EQ(String(e.getMessage()),
                      "The path \"" + plain + "\\x00/rest\" has a NUL character in it");
        }
    }
    EXPECT_TRUE(FileSystem::exists(plain));
}

TEST_F(Files, AreLockedAgainstOtherProcesses) {
    File file = FileSystem::createFile(m_dir / "f");
    ASSERT_EQ(file.getLock(File::E_WRITE_LOCK), 0);
    const auto tryLock = [&](File::ELockType type) {
        return inChild([&] {
            File other = FileSystem::openOrCreateFile(m_dir / "f");
            return other.getLock(type, File::E_DONT_WAIT) == 0 ? 0 : errno;
        });
    };
    EXPECT_EQ(tryLock(File::E_READ_LOCK), EAGAIN);
    ASSERT_EQ(file.getLock(File::E_READ_LOCK), 0);
    EXPECT_EQ(tryLock(File::E_READ_LOCK), 0);
    EXPECT_EQ(tryLock(File::E_WRITE_LOCK), EAGAIN);
    ASSERT_EQ(file.close(), 0);
    EXPECT_EQ(tryLock(File::E_WRITE_LOCK), 0);
}

TEST_F(Files, OwnLockOutlivesOtherDescriptorsAndKeepsRecordLocksOut) {
    File file = FileSystem::createFile(m_dir / "f");
    ASSERT_EQ(file.getOwnLock(File::E_WRITE_LOCK), 0);
    FileSystem::openOrCreateFile(m_dir / "f").close();
    const auto errnoOf = [&](int (File::*lock)(File::ELockType, File::EWaitFlag)) {
        return inChild([&] {
            File other = FileSystem::openOrCreateFile(m_dir / "f");
            return (other.*lock)(File::E_READ_LOCK, File::E_DONT_WAIT) == 0 ? 0 : errno;
        });
    };
    EXPECT_EQ(errnoOf(&File::getOwnLock), EAGAIN);
    EXPECT_EQ(errnoOf(&File::getLock), EAGAIN);
    ASSERT_EQ(file.close(), 0);
    EXPECT_EQ(errnoOf(&File::getOwnLock), 0);
}

TEST_F(Files, AreWaitedForEvenWhenASignalInterrupts) {
    File file = FileSystem::createFile(m_dir / "f");
    ASSERT_EQ(file.getLock(File::E_WRITE_LOCK), 0);
    const pid_t pid = fork();
    if (pid == 0) {
        struct sigaction action = {};  // no SA_RESTART
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);
        File other = FileSystem::openOrCreateFile(m_dir / "f");
        ualarm(20'000, 20'000);
        _exit(other.getLock(File::E_WRITE_LOCK) == 0 ? 0 : 1);
    }
    usleep(100'000);
    EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), 0) << "the lock did not hold";
    file.close();
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(Files, AreReadWholeWhateverTheirSize) {
    String text(300'000, 'x');
    text[1000] = '\0';
    write("big", text);
    write("empty", "");
    EXPECT_EQ(FileSystem::getFileContents(m_dir / "big"), text);
    EXPECT_EQ(FileSystem::getFileContents(m_dir / "empty"), "");
}

TEST_F(Files, ThatAnnounceNoLengthAreReadWhole) {
    EXPECT_THAT(FileSystem::getFileContents("/proc/self/status"),
                HasSubstr("\nPid:\t" + std::to_string(getpid()) + "\n"));
}

TEST_F(Files, AreReadBehindWhatIsThereAlreadyUpToTheLimit) {
    write("f", "abc");
    for (const size_t limit : {4, 5}) {
        String contents = "12";
        File file = FileSystem::openOrCreateFile(m_dir / "f");
        errno = 0;
        EXPECT_EQ(FileSystem::readAll(file, contents, limit), limit == 5);
        EXPECT_EQ(errno, limit == 5 ? 0 : EFBIG);
        EXPECT_EQ(contents, limit == 5 ? "12abc" : "12");
    }
}

TEST_F(Files, ReadingThatFailsKeepsItsReason) {
    String contents = "12";
    File directory(::open(m_dir.path().c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(FileSystem::readAll(directory, contents));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(contents, "12");
}

TEST_F(Files, ThatCannotBeReadAreNamed) {
    for (const auto& [path, code] :
         {std::pair{m_dir / "missing", ENOENT}, {m_dir.path(), EISDIR}}) {
        try {
            FileSystem::getFileContents(path);
            FAIL() << path;
        } catch (const blocxx::FileSystemException& e) {
            EXPECT_EQ(e.getErrorCode(), code);
            EXPECT_THAT(e.getMessage(), HasSubstr("\"" + path + "\""));
        }
    }
}

TEST_F(Files, WithoutAnEndAreRefused) {
    try {
        FileSystem::getFileContents("/dev/zero");
        FAIL();
    } catch (const blocxx::FileSystemException& e) {
        EXPECT_EQ(e.getErrorCode(), EFBIG);
        EXPECT_STREQ(e.getMessage(), "Cannot read \"/dev/zero\": it is longer than 64 MiB");
    }
}

TEST(StandardInput, IsReadToItsEndOrItsLimitAndNotClosed) {
    const auto readWith = [](const char* path) {
        const int fd = ::open(path, O_RDONLY);
        ::dup2(fd, STDIN_FILENO);
        return FileSystem::readStandardInput(size_t{1} << 20);
    };
    EXPECT_EQ(inChild([&] {
                  return readWith("/dev/null").empty() && ::fcntl(STDIN_FILENO, F_GETFD) == 0 ? 0
                                                                                              : 1;
              }),
              0);
    EXPECT_EQ(inChild([&] {
                  try {
                      readWith("/dev/zero");
                  } catch (const blocxx::FileSystemException& e) {
                      EXPECT_STREQ(e.getMessage(),
                                   "Cannot read \"standard input\": it is longer than 1 MiB");
                      return testing::Test::HasFailure() ? 1 : 0;
                  }
                  return 1;
              }),
              0);
}

TEST_F(Files, AreReadUpToTheLimit) {
    write("f", "");
    ASSERT_EQ(::truncate((m_dir / "f").c_str(), FileSystem::MAX_CONTENT_SIZE), 0);
    EXPECT_EQ(FileSystem::getFileContents(m_dir / "f").size(), FileSystem::MAX_CONTENT_SIZE);
    ASSERT_EQ(::truncate((m_dir / "f").c_str(), FileSystem::MAX_CONTENT_SIZE + 1), 0);
    EXPECT_THROW(FileSystem::getFileContents(m_dir / "f"), blocxx::FileSystemException);
}

TEST_F(Files, LimitOfTheCallerHoldsBeforeAnythingIsRead) {
    write("f", "");
    constexpr size_t LIMIT = size_t{1} << 30;
    ASSERT_EQ(::truncate((m_dir / "f").c_str(), static_cast<off_t>(LIMIT) * 1024), 0);
    try {
        FileSystem::getFileContents(m_dir / "f", FileSystem::NamedBy::OTHERS, LIMIT);
        FAIL();
    } catch (const blocxx::FileSystemException& e) {
        EXPECT_EQ(e.getErrorCode(), EFBIG);
        EXPECT_EQ(String(e.getMessage()),
                  "Cannot read \"" + (m_dir / "f") + "\": it is longer than 1024 MiB");
    }
}

TEST_F(Files, FifoThatNobodyWritesToIsNotWaitedFor) {
    const String fifo = m_dir / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    try {
        FileSystem::getFileContents(fifo);
        FAIL();
    } catch (const blocxx::FileSystemException& e) {
        EXPECT_EQ(e.getErrorCode(), EPIPE);
        EXPECT_EQ(String(e.getMessage()),
                  "Cannot read \"" + fifo + "\": nobody writes to this FIFO");
    }
}

TEST_F(Files, FifoOfTheCallerIsWaitedForAndMayBeEmpty) {
    const String fifo = m_dir / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string_view text : {"abc", ""}) {
        std::thread writer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            const int writeEnd = ::open(fifo.c_str(), O_WRONLY);
            EXPECT_EQ(::write(writeEnd, text.data(), text.size()), ssize_t(text.size()));
            ::close(writeEnd);
        });
        EXPECT_EQ(FileSystem::getFileContents(fifo, FileSystem::NamedBy::CALLER), text);
        writer.join();
    }
}

TEST_F(Files, NamedByOthersMayBeLinksAndThoseNamedByUsMayNot) {
    write("f", "abc");
    const String link = m_dir / "link";
    ASSERT_EQ(::symlink((m_dir / "f").c_str(), link.c_str()), 0);
    EXPECT_EQ(FileSystem::getFileContents(link, FileSystem::NamedBy::CALLER), "abc");
    EXPECT_EQ(FileSystem::getFileContents(link, FileSystem::NamedBy::OTHERS), "abc");
    EXPECT_EQ(FileSystem::getFileContents(m_dir / "f", FileSystem::NamedBy::US), "abc");
    try {
        FileSystem::getFileContents(link, FileSystem::NamedBy::US);
        FAIL();
    } catch (const blocxx::FileSystemException& e) {
        EXPECT_EQ(e.getErrorCode(), ELOOP);
        EXPECT_EQ(String(e.getMessage()),
                  "Cannot read \"" + link +
                      "\": it is a symbolic link, which is not followed here; put the file itself "
                      "in its place");
    }
}

TEST_F(Files, NamedByUsAreRegularFiles) {
    const String fifo = m_dir / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const String& path : {fifo, m_dir.path(), String("/dev/null")}) {
        try {
            FileSystem::getFileContents(path, FileSystem::NamedBy::US);
            FAIL() << path;
        } catch (const blocxx::FileSystemException& e) {
            EXPECT_EQ(String(e.getMessage()),
                      "Cannot read \"" + path + "\": it is not a regular file");
        }
    }
}

TEST_F(Files, FifoIsReadToTheEndOfASlowWriter) {
    const String fifo = m_dir / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int readEnd = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    const int writeEnd = ::open(fifo.c_str(), O_WRONLY);
    ::close(readEnd);
    std::thread writer([writeEnd] {
        for (const std::string_view part : {"a", "bc"}) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            EXPECT_EQ(::write(writeEnd, part.data(), part.size()), ssize_t(part.size()));
        }
        ::close(writeEnd);
    });
    const String contents = FileSystem::getFileContents(fifo);
    writer.join();
    EXPECT_EQ(contents, "abc");
}

TEST_F(Files, AreToldFromDirectoriesAndPrograms) {
    write("f", "");
    EXPECT_TRUE(FileSystem::exists(m_dir / "f"));
    EXPECT_FALSE(FileSystem::exists(m_dir / "g"));
    EXPECT_FALSE(FileSystem::isDirectory(m_dir / "f"));
    EXPECT_FALSE(FileSystem::isDirectory(m_dir / "g"));
    EXPECT_TRUE(FileSystem::isDirectory(m_dir.path()));
    EXPECT_FALSE(FileSystem::canExecute(m_dir / "f"));
    EXPECT_FALSE(FileSystem::canExecute(m_dir / "g"));
    EXPECT_FALSE(FileSystem::canExecute(m_dir.path()));
    EXPECT_TRUE(FileSystem::changeFileMode(m_dir / "f", 0755));
    EXPECT_TRUE(FileSystem::canExecute(m_dir / "f"));
}

TEST_F(Files, AreRemovedAndRenamed) {
    write("a", "one");
    write("b", "two");
    EXPECT_TRUE(FileSystem::renameFile(m_dir / "a", m_dir / "b"));
    EXPECT_EQ(FileSystem::getFileContents(m_dir / "b"), "one");
    EXPECT_FALSE(FileSystem::renameFile(m_dir / "a", m_dir / "c"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(FileSystem::removeFile(m_dir / "b"));
    EXPECT_FALSE(FileSystem::removeFile(m_dir / "b"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Files, GetTheModeThatIsAskedFor) {
    write("f", "");
    EXPECT_TRUE(FileSystem::changeFileMode(m_dir / "f", 0604));
    EXPECT_EQ(modeOf(m_dir / "f"), 0604U);
    EXPECT_FALSE(FileSystem::changeFileMode(m_dir / "missing", 0600));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Files, BehindALinkKeepTheirModeAndOwner) {
    write("f", "");
    ASSERT_EQ(symlink((m_dir / "f").c_str(), (m_dir / "link").c_str()), 0);
    const mode_t before = modeOf(m_dir / "f");
    EXPECT_FALSE(FileSystem::changeFileMode(m_dir / "link", 0777));
    EXPECT_EQ(modeOf(m_dir / "f"), before);
    if (geteuid() == 0) {
        EXPECT_TRUE(FileSystem::changeFileOwner(m_dir / "link", 12, 34));
        struct stat info = {};
        ASSERT_EQ(stat((m_dir / "f").c_str(), &info), 0);
        EXPECT_EQ(info.st_uid, 0U);
    }
}

TEST_F(Files, GetTheirModeWithoutAProcFileSystem) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root";
    }
    write("f", "");
    ASSERT_EQ(symlink("/f", (m_dir / "link").c_str()), 0);
    EXPECT_EXIT(
        {
            const bool isInside = chroot(m_dir.path().c_str()) == 0 && chdir("/") == 0;
            const bool isChanged = FileSystem::changeFileMode("/f", 0604);
            const bool isRefused = !FileSystem::changeFileMode("/link", 0777) &&
                                   !FileSystem::changeFileMode("/missing", 0777);
            std::_Exit(isInside && isChanged && isRefused ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(modeOf(m_dir / "f"), 0604U);
}

TEST_F(Files, GetTheOwnerThatRootAsksFor) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may give files away";
    }
    write("f", "");
    EXPECT_TRUE(FileSystem::changeFileOwner(m_dir / "f", 12, 34));
    struct stat info = {};
    ASSERT_EQ(stat((m_dir / "f").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 12U);
    EXPECT_EQ(info.st_gid, 34U);
    EXPECT_FALSE(FileSystem::changeFileOwner(m_dir / "missing", 1, 1));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Files, HaveDirectoriesThatAreMadeAndSynced) {
    EXPECT_TRUE(FileSystem::makeDirectory(m_dir / "d", 0777));
    EXPECT_EQ(modeOf(m_dir / "d"), 0755U);
    EXPECT_FALSE(FileSystem::makeDirectory(m_dir / "d"));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(FileSystem::syncDirectory(m_dir / "d"));
    EXPECT_FALSE(FileSystem::syncDirectory(m_dir / "missing"));
    EXPECT_EQ(errno, ENOENT);
    write("f", "");
    EXPECT_FALSE(FileSystem::syncDirectory(m_dir / "f"));
    EXPECT_EQ(errno, ENOTDIR);
}

TEST(Path, IsTakenApartAtItsLastSlash) {
    struct Row {
        const char* path;
        const char* dirname;
        const char* basename;
    };
    const Row rows[] = {{"/a/b/c", "/a/b", "c"},
                        {"/a/b/c/", "/a/b", "c"},
                        {"/a/b//c//", "/a/b", "c"},
                        {"/a", "/", "a"},
                        {"//a", "/", "a"},
                        {"a", ".", "a"},
                        {"a/", ".", "a"},
                        {"a/b", "a", "b"},
                        {"/", "/", "/"},
                        {"//", "/", "/"},
                        {"", ".", ""},
                        {"..", ".", ".."}};
    for (const Row& row : rows) {
        EXPECT_EQ(FileSystem::Path::dirname(row.path), row.dirname) << row.path;
        EXPECT_EQ(FileSystem::Path::basename(row.path), row.basename) << row.path;
    }
}

}  // namespace
