// SPDX-License-Identifier: Apache-2.0
//
// The daemon as a process: its start, what it locks and keeps open, its end, and what survives it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Process.hpp"
#include "openwbem/model/CIMNameSpaceUtils.hpp"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Clock = std::chrono::steady_clock;

/// Runs the daemon's program until it ends or has started a daemon. Returns its exit status.
int runProgram(const StringArray& arguments, String& output) {
    blocxx::Process::Command command;
    command.argv = {KOV_OWCIMOMD};
    command.argv.insert(command.argv.end(), arguments.begin(), arguments.end());
    command.timeLimit = std::chrono::seconds(60);
    return blocxx::Process::run(command, output).exitStatus();
}

bool waitFor(const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

class Daemon : public ::testing::Test {
protected:
    Daemon() : tree(LiveDaemon::Start::LATER) {}
    ~Daemon() override {
        if (const pid_t pid = backgroundPid()) {
            ::kill(pid, SIGKILL);
        }
    }
    int startInBackground(String& output) {
        return runProgram({"--dest-dir", tree.prefix()}, output);
    }
    int ping() {
        String output;
        return runProgram({"--dest-dir", tree.prefix(), "--ping"}, output);
    }
    String pidFile() const { return tree.state() + "/owcimomd.pid"; }
    pid_t backgroundPid() const {
        pid_t pid = 0;
        std::ifstream(pidFile()) >> pid;
        return m_background ? pid : 0;
    }

    LiveDaemon tree;
    bool m_background = false;
};

class BackgroundDaemon : public Daemon {
protected:
    BackgroundDaemon() { m_background = true; }
};

TEST_F(BackgroundDaemon, IsReadyWhenItsStarterEnds) {
    String output;
    EXPECT_EQ(1, ping());
    ASSERT_EQ(0, startInBackground(output)) << output;
    EXPECT_THAT(output, IsEmpty());
    EXPECT_EQ(1u, tree.connect()->enumClassNamesA("root", "").size());
    EXPECT_EQ(0, ping());
    struct stat status {};
    ASSERT_EQ(0, ::stat(tree.socket().c_str(), &status));
    EXPECT_EQ(0666u, status.st_mode & 07777u) << "who may connect is told by who connects";
    const pid_t pid = backgroundPid();
    EXPECT_EQ(1, startInBackground(output));
    EXPECT_THAT(output, HasSubstr("runs already, as process " + std::to_string(pid)));
    EXPECT_EQ(0, ping()) << "the second start leaves the first daemon's socket";
    ::kill(pid, SIGTERM);
    EXPECT_TRUE(waitFor([&] { return !blocxx::FileSystem::exists(pidFile()); }));
    EXPECT_FALSE(blocxx::FileSystem::exists(tree.socket()));
}

TEST_F(BackgroundDaemon, HoldsNothingOfItsStarter) {
    int ends[2];
    ASSERT_EQ(0, ::pipe(ends));  // inheritable, as in a careless program
    const pid_t starter = ::fork();
    if (starter == 0) {
        ::dup2(ends[1], STDOUT_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        ::dup2(ends[1], 20);
        ::execl(KOV_OWCIMOMD, KOV_OWCIMOMD, "--dest-dir", tree.prefix().c_str(), nullptr);
        ::_exit(127);
    }
    ::close(ends[1]);
    int status = -1;
    ::waitpid(starter, &status, 0);
    ASSERT_EQ(0, status);
    char byte = 0;
    EXPECT_EQ(0, ::read(ends[0], &byte, 1)) << "the pipe ends with the starter";
    ::close(ends[0]);
    const String process = "/proc/" + std::to_string(backgroundPid());
    EXPECT_EQ("/", std::filesystem::read_symlink(process + "/cwd").string());
    for (const char* standard : {"0", "1", "2"}) {
        EXPECT_EQ("/dev/null", std::filesystem::read_symlink(process + "/fd/" + standard).string());
    }
    EXPECT_EQ(backgroundPid(), ::getsid(backgroundPid()));
}

TEST_F(BackgroundDaemon, HoldsNoDescriptorOfItsStarterInTheForegroundEither) {
    int ends[2];
    ASSERT_EQ(0, ::pipe(ends));
    const pid_t daemon = ::fork();
    if (daemon == 0) {
        ::dup2(ends[1], 20);
        ::execl(KOV_OWCIMOMD, KOV_OWCIMOMD, "--foreground", "--dest-dir", tree.prefix().c_str(),
                nullptr);
        ::_exit(127);
    }
    ::close(ends[1]);
    EXPECT_TRUE(waitFor([&] { return ping() == 0; }));
    pollfd pipe{ends[0], POLLIN, 0};
    EXPECT_EQ(1, ::poll(&pipe, 1, 0)) << "nobody can write to it any more";
    ::close(ends[0]);
    ::kill(daemon, SIGTERM);
    int status = -1;
    ::waitpid(daemon, &status, 0);
    EXPECT_EQ(0, status);
}

TEST_F(BackgroundDaemon, TellsWhyItCannotStart) {
    String output;
    std::filesystem::remove(tree.repository() + "/repository.db");
    EXPECT_EQ(1, startInBackground(output));
    EXPECT_THAT(output, AllOf(HasSubstr("owcimomd: error:"), HasSubstr(tree.repository()),
                              HasSubstr("kov-setup")));
    EXPECT_FALSE(blocxx::FileSystem::exists(pidFile()));
    EXPECT_EQ(1, runProgram({"--dest-dir", "relative"}, output));
    EXPECT_THAT(output, HasSubstr("needs an absolute path"));
    EXPECT_EQ(1, runProgram({"--nonsense"}, output));
    EXPECT_THAT(output, HasSubstr("unknown option"));
}

TEST_F(Daemon, IsNotMisledByAPidFileThatNobodyHolds) {
    struct Row {
        const char* sentence;
        String content;
    };
    for (const Row& row : {Row{"a dead process", "999999\n"},
                           Row{"a process of somebody else", std::to_string(getpid()) + "\n"},
                           Row{"no number", "nonsense"}, Row{"nothing", ""}}) {
        writeFile(pidFile(), row.content);
        writeFile(tree.socket(), "left over");
        EXPECT_NO_THROW(tree.start()) << row.sentence;
        EXPECT_EQ(0, tree.end(SIGTERM)) << row.sentence;
    }
}

TEST_F(Daemon, EndsWithinASecondOfBeingTold) {
    tree.start();
    const auto handle = tree.connect();
    addSchema(*handle, "root");
    for (uint32_t i = 0; i < 3000; ++i) {
        handle->createInstance("root", car(i));
    }
    const auto before = Clock::now();
    EXPECT_EQ(0, tree.end(SIGTERM));
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(1));
    EXPECT_FALSE(blocxx::FileSystem::exists(pidFile()));
    EXPECT_FALSE(blocxx::FileSystem::exists(tree.socket()));
    const std::filesystem::directory_iterator files(tree.repository());
    EXPECT_EQ(1, std::distance(begin(files), end(files))) << "everything is in the one file";
    OpenRepository opened(tree.repository());
    EXPECT_EQ(3000u, opened->enumInstanceNamesA("root", "Car").size());
}

TEST_F(Daemon, HasOneThread) {
    tree.start();
    tree.connect()->enumClassNamesA("root", "");
    const std::filesystem::directory_iterator threads("/proc/" + std::to_string(tree.pid()) +
                                                      "/task");
    EXPECT_EQ(1, std::distance(begin(threads), end(threads)));
}

TEST_F(Daemon, HoldsTheRepositoryAlone) {
    tree.start();
    String message;
    EXPECT_EQ(1, statusOf([&] { OpenRepository opened(tree.repository()); }, &message));
    EXPECT_THAT(message, AllOf(HasSubstr("holds the repository"), HasSubstr("owcimomd")));
    tree.connect()->enumClassNamesA("root", "");
    tree.end(SIGTERM);
    EXPECT_EQ(0, statusOf([&] { OpenRepository opened(tree.repository()); }));
}

TEST_F(Daemon, LosesNothingThatItHasAcknowledgedWhenItIsKilled) {
    tree.start();
    addSchema(*tree.connect(), "root");
    uint32_t acknowledged = 0;
    for (int round = 0; round < 5; ++round) {
        // Another process kills the daemon in the middle of its work.
        const pid_t killer = ::fork();
        if (killer == 0) {
            ::usleep(50000 + 20000U * static_cast<unsigned>(round));
            ::kill(tree.pid(), SIGKILL);
            ::_exit(0);
        }
        const auto handle = tree.connect();
        while (statusOf([&] { handle->createInstance("root", car(acknowledged)); }) == 0) {
            ++acknowledged;
        }
        ::waitpid(killer, nullptr, 0);
        tree.end(SIGKILL);
        // In turn, a tool and the daemon open the repository next. Both find everything.
        size_t found = 0;
        if (round % 2 == 0) {
            OpenRepository opened(tree.repository());
            found = opened->enumInstanceNamesA("root", "Car").size();
            opened->createInstance("root", person("after " + std::to_string(round)));
            opened.repository().close();
            tree.start();
        } else {
            tree.start();
            found = tree.connect()->enumInstanceNamesA("root", "Car").size();
        }
        EXPECT_GE(found, acknowledged);
        EXPECT_LE(found, acknowledged + 1) << "the one under way may have been carried out";
        acknowledged = static_cast<uint32_t>(found);
    }
    EXPECT_GT(acknowledged, 0u);
    EXPECT_EQ(3u, tree.connect()->enumInstanceNamesA("root", "Person").size());
}

TEST_F(Daemon, StartsWithConfigurationThatCannotBeRead) {
    writeFile(tree.dropIn("bad.conf"),
              "this is no line\n\x01\x02\nowcimomd.log_level = loud\n"
              "owcimomd.datadir = /nowhere\n"
              "owcimomd.log_file = /nowhere/log\n");
    std::filesystem::create_directory(tree.dropIn("directory.conf"));
    EXPECT_NO_THROW(tree.start());
    EXPECT_THAT(
        tree.log(),
        AllOf(HasSubstr("bad.conf:1: there is no \"=\""),
              HasSubstr("directory.conf\" cannot be read"), HasSubstr("no log level \"loud\""),
              HasSubstr("bad.conf:4: only the main file"), HasSubstr("log file is not used")));
}

TEST_F(Daemon, WritesToTheLogFileOfItsConfiguration) {
    const String log = tree.prefix() + "/daemon.log";
    writeFile(tree.config(), "owcimomd.log_file = " + log + "\nowcimomd.log_level = info\n");
    tree.start();
    tree.end(SIGTERM);
    EXPECT_THAT(blocxx::FileSystem::getFileContents(log),
                AllOf(HasSubstr("INFO ready"), HasSubstr("INFO ended")));
}

class DaemonWithLogFile : public Daemon {
protected:
    DaemonWithLogFile() {
        std::filesystem::create_directory(tree.prefix() + "/logs");
        writeFile(tree.config(), "owcimomd.log_file = " + log() + "\n");
        tree.start();
    }
    String log() const { return tree.prefix() + "/logs/daemon.log"; }
    String rotated() const { return log() + ".1"; }
    void rotate() {
        std::filesystem::rename(log(), rotated());
        ::kill(tree.pid(), SIGHUP);
    }
    bool says(const String& file, const String& text) const {
        return waitFor([&] {
            return blocxx::FileSystem::exists(file) &&
                   blocxx::FileSystem::getFileContents(file).find(text) != String::npos;
        });
    }
};

TEST_F(DaemonWithLogFile, WritesToANewFileAfterSighup) {
    for (int round = 0; round < 3; ++round) {
        rotate();
        ASSERT_TRUE(says(log(), "INFO the log was opened again")) << round;
        EXPECT_EQ(1u, tree.connect()->enumClassNamesA("root", "").size());
    }
    EXPECT_EQ(0, tree.end(SIGTERM));
    EXPECT_TRUE(says(log(), "INFO ended"));
}

TEST_F(DaemonWithLogFile, StaysWithTheOldFileWhenTheNewOneCannotBeOpened) {
    std::filesystem::rename(log(), rotated());
    std::filesystem::create_symlink(tree.prefix() + "/victim", log());
    ::kill(tree.pid(), SIGHUP);
    ASSERT_TRUE(says(
        rotated(), "ERROR the log stays where it is: Cannot open the log file \"" + log() + "\""));
    EXPECT_FALSE(blocxx::FileSystem::exists(tree.prefix() + "/victim"));
    std::filesystem::remove(log());
    ::kill(tree.pid(), SIGHUP);
    EXPECT_TRUE(says(log(), "INFO the log was opened again"));
    EXPECT_EQ(0, tree.end(SIGTERM));
}

TEST_F(Daemon, WithoutALogFileGoesOnAfterSighup) {
    tree.start();
    for (int round = 0; round < 3; ++round) {
        ::kill(tree.pid(), SIGHUP);
        EXPECT_EQ(1u, tree.connect()->enumClassNamesA("root", "").size());
    }
    EXPECT_EQ(0, tree.end(SIGTERM));
}

TEST_F(Daemon, FailuresLeaveNothingAndTheNextRequestIsCarriedOut) {
    tree.start();
    const auto handle = tree.connect();
    addSchema(*handle, "root");
    EXPECT_EQ(5, statusOf([&] { handle->createInstance("root", CIMInstance("None")); }));
    EXPECT_EQ(9, statusOf([&] {
                  handle->createInstance("root", car(1));
                  handle->deleteClass("root", "Car");
              }));
    EXPECT_EQ(0, statusOf([&] { handle->createInstance("root", car(2)); }));
    EXPECT_EQ(2u, handle->enumInstanceNamesA("root", "Car").size());
}

}  // namespace
}  // namespace KovTest
