// SPDX-License-Identifier: Apache-2.0
//
// Running programs: what they are given, how their end is reported, and that neither they nor their
// children can hold the caller up.
#include "blocxx/Process.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <sstream>

#include "blocxx/ChildProcess.hpp"
#include "blocxx/FileSystem.hpp"
#include "blocxx/Secure.hpp"
#include "tests/unit/blocxx/TemporaryDirectory.hpp"

namespace Process = blocxx::Process;
using blocxx::ProcessException;
using blocxx::String;
using blocxx::StringArray;
using std::chrono::seconds;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;

namespace {

using Clock = std::chrono::steady_clock;

// The tests script their programs with a shell; the code under test uses none.
Process::Command shell(const String& script, seconds limit = seconds(60)) {
    return {{"/bin/sh", "-c", script}, {"PATH=/usr/bin:/bin"}, "", std::nullopt, limit};
}

String outputOf(const Process::Command& command) {
    String output;
    EXPECT_TRUE(Process::run(command, output).terminatedSuccessfully()) << output;
    return output;
}

double secondsOf(const auto& body) {
    const auto start = Clock::now();
    body();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

bool isAlive(pid_t pid) {
    return kill(pid, 0) == 0;
}

/// Whether the process ends within some seconds; a killed orphan takes a moment to be reaped.
bool goesAway(pid_t pid) {
    for (int i = 0; i < 300; ++i) {
        // In a container without an init an orphan stays a zombie. That counts as gone.
        const String stat = "/proc/" + std::to_string(pid) + "/stat";
        if (!isAlive(pid) ||
            (blocxx::FileSystem::exists(stat) &&
             blocxx::FileSystem::getFileContents(stat).find(") Z ") != String::npos)) {
            return true;
        }
        usleep(10'000);
    }
    return false;
}

TEST(Status, TellsHowAProgramEnded) {
    struct Row {
        Process::Status status;
        bool terminated;
        bool successful;
        const char* text;
    };
    const Row rows[] = {
        {Process::Status(), false, false, "not run"},
        {Process::Status::fromWaitStatus(0), true, true, "exited with status 0"},
        {Process::Status::fromWaitStatus(3 << 8), true, false, "exited with status 3"},
        {Process::Status::fromWaitStatus(SIGKILL), false, false, "killed by signal 9 (Killed)"},
        {Process::Status::timedOut(SIGKILL), false, false, "stopped by the time limit"},
        {Process::Status::timedOut(0), false, false, "stopped by the time limit"}};
    for (const Row& row : rows) {
        EXPECT_EQ(row.status.terminated(), row.terminated) << row.text;
        EXPECT_EQ(row.status.terminatedSuccessfully(), row.successful) << row.text;
        std::ostringstream out;
        out << row.status;
        EXPECT_EQ(out.str(), row.text);
    }
    EXPECT_EQ(rows[2].status.exitStatus(), 3);
}

TEST(Program, EndsWithItsExitStatus) {
    for (const int status : {0, 1, 3, 127, 255}) {
        String output;
        const Process::Status result =
            Process::run(shell("exit " + std::to_string(status)), output);
        EXPECT_TRUE(result.terminated());
        EXPECT_EQ(result.exitStatus(), status);
        EXPECT_EQ(result.terminatedSuccessfully(), status == 0);
    }
}

TEST(Program, ThatASignalKillsHasNotTerminated) {
    String output;
    const Process::Status status = Process::run(shell("kill -TERM $$"), output);
    EXPECT_FALSE(status.terminated());
    EXPECT_EQ(status.toString(), "killed by signal 15 (Terminated)");
}

TEST(Program, WritesBothStreamsIntoOneOutput) {
    EXPECT_EQ(outputOf(shell("echo one; echo two >&2; echo three")), "one\ntwo\nthree\n");
}

TEST(Program, ReplacesWhatTheOutputHeld) {
    String output = "old";
    Process::run(shell(":"), output);
    EXPECT_EQ(output, "");
}

TEST(Program, GetsItsArgumentsAsTheyAre) {
    Process::Command command = shell("printf '%s|' \"$@\"");
    command.argv.insert(command.argv.end(), {"sh", "a b", "", "$HOME;`id`", "*", "\n"});
    EXPECT_EQ(outputOf(command), "a b||$HOME;`id`|*|\n|");
}

TEST(Program, GetsExactlyTheEnvironmentThatItIsGiven) {
    setenv("KOV_TEST_SECRET", "x", 1);
    EXPECT_EQ(outputOf({{"/usr/bin/env"}, {"A=1", "B=two words"}, "", std::nullopt, seconds(60)}),
              "A=1\nB=two words\n");
}

TEST(Program, GetsNoDescriptorsButTheStandardStreams) {
    const int leaked = open("/dev/null", O_RDONLY);  // deliberately not close-on-exec
    const int high = fcntl(leaked, F_DUPFD, 700);
    // The shell's own ls opens the directory as 3.
    EXPECT_EQ(outputOf({{"/bin/ls", "/proc/self/fd"}, {}, "", std::nullopt, seconds(60)}),
              "0\n1\n2\n3\n");
    close(leaked);
    close(high);
}

TEST(Program, RunsInAProcessGroupOfItsOwn) {
    EXPECT_EQ(outputOf(shell("test $(cut -d' ' -f5 /proc/$$/stat) = $$ && echo own")), "own\n");
}

TEST(Program, StartsWithDefaultSignals) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    const auto handler = signal(SIGPIPE, SIG_IGN);
    const String masks =
        outputOf({{"/bin/grep", "Sig[BI]", "/proc/self/status"}, {}, "", {}, seconds(60)});
    signal(SIGPIPE, handler);
    sigset_t after;
    sigprocmask(SIG_SETMASK, &before, &after);
    EXPECT_EQ(masks, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
    EXPECT_TRUE(sigismember(&after, SIGTERM)) << "the caller's mask was not restored";
}

TEST(Program, ReadsItsInputToTheEnd) {
    Process::Command command = shell("cat");
    command.input = String(1'000'000, 'i') + String("\0end", 4);
    EXPECT_EQ(outputOf(command), command.input);
    command.input.clear();
    EXPECT_EQ(outputOf(command), "");
}

TEST(Program, MayIgnoreItsInput) {
    Process::Command command = shell("exec 0<&-; exit 7");
    command.input = String(1'000'000, 'i');
    String output;
    EXPECT_EQ(Process::run(command, output).exitStatus(), 7);
}

TEST(Program, MayWriteMuchOfWhichTheBeginningIsKept) {
    const String output = outputOf(shell("echo begin; head -c 10000000 /dev/zero; echo end"));
    EXPECT_EQ(output.size(), Process::MAX_OUTPUT);
    EXPECT_TRUE(output == "begin\n" + String(Process::MAX_OUTPUT - 6, '\0'));
}

TEST(Program, ThatIsMissingIsNamedWithTheReason) {
    TemporaryDirectory dir;
    blocxx::FileSystem::createFile(dir / "plain");
    for (const auto& [path, code] : {std::pair{String("/nonexistent/program"), ENOENT},
                                     {dir / "plain", EACCES},
                                     {dir.path(), EACCES}}) {
        String output = "old";
        try {
            Process::run({{path}, {}, "", std::nullopt, seconds(60)}, output);
            FAIL() << path;
        } catch (const ProcessException& e) {
            EXPECT_EQ(e.getErrorCode(), code);
            EXPECT_THAT(e.getMessage(), HasSubstr("\"" + path + "\""));
        }
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was left behind";
    }
}

TEST(Program, ThatIsNoValidCommandIsRefused) {
    String output;
    const String withNul("/bin/true\0x", 11);
    EXPECT_THROW(Process::run({{}, {}, "", {}, seconds(1)}, output), ProcessException);
    EXPECT_THROW(Process::run({{withNul}, {}, "", {}, seconds(1)}, output), ProcessException);
    EXPECT_THROW(Process::run({{"/bin/true"}, {withNul}, "", {}, seconds(1)}, output),
                 ProcessException);
}

TEST(TimeLimit, KillsTheWholeGroup) {
    String output;
    Process::Status status;
    const double taken = secondsOf([&] {
        status = Process::run(shell("trap '' TERM INT; sleep 300 & echo $!; sleep 301 & echo $!; "
                                    "wait; sleep 300",
                                    seconds(1)),
                              output);
    });
    EXPECT_EQ(status.toString(), "stopped by the time limit");
    EXPECT_FALSE(status.terminated());
    EXPECT_GE(taken, 0.99);
    EXPECT_LT(taken, 10);
    const StringArray pids = blocxx::tokenize(output);
    ASSERT_EQ(pids.size(), 2U) << output;
    for (const String& pid : pids) {
        EXPECT_TRUE(goesAway(std::stoi(pid)));
    }
}

TEST(TimeLimit, StopsAProgramThatWritesForEver) {
    String output;
    const Process::Status status =
        Process::run(shell("while :; do echo line; sleep 0.01; done", seconds(1)), output);
    EXPECT_EQ(status.toString(), "stopped by the time limit");
    EXPECT_THAT(output, HasSubstr("line\n"));
}

TEST(TimeLimit, OfNothingIsNone) {
    EXPECT_EQ(outputOf(shell("sleep 0.1; echo done", seconds(0))), "done\n");
    EXPECT_EQ(outputOf(shell("sleep 0.1; echo done", seconds::max())), "done\n");
}

TEST(Daemon, ThatKeepsThePipeOpenIsNotWaitedFor) {
    String output;
    const double taken = secondsOf([&] {
        EXPECT_TRUE(
            Process::run(shell("setsid sleep 300 & echo $!"), output).terminatedSuccessfully());
    });
    EXPECT_LT(taken, 5);
    const pid_t daemon = std::stoi(output);
    EXPECT_TRUE(isAlive(daemon)) << "it was killed";
    kill(daemon, SIGKILL);
}

TEST(Daemon, ThatFloodsThePipeIsNotListenedToForEver) {
    String output;
    const double taken = secondsOf([&] {
        EXPECT_TRUE(
            Process::run(shell("setsid yes & echo pid $! >&2"), output).terminatedSuccessfully());
    });
    EXPECT_LT(taken, 10);
    const size_t at = output.find("pid ");
    if (at != String::npos) {  // its reader is gone, so it ends by itself as well
        kill(std::stoi(output.substr(at + 4)), SIGKILL);
    }
}

/// Runs `body` in a child, whose exit status must be 0.
template <class Body>
void expectInChild(Body body) {
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(body() && !testing::Test::HasFailure() ? 0 : 1);
    }
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(Caller, MayHaveClosedItsStandardStreams) {
    expectInChild([] {
        for (const int fd : {0, 1, 2}) {
            close(fd);
        }
        Process::Command command = shell("cat; echo error >&2");
        command.input = "input ";
        String output;
        return Process::run(command, output).terminatedSuccessfully() && output == "input error\n";
    });
}

TEST(Caller, WithoutFreeDescriptorsIsToldThat) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs descriptors of its own to check types";
#endif
    expectInChild([] {
        const rlimit none{STDERR_FILENO + 1, STDERR_FILENO + 1};
        setrlimit(RLIMIT_NOFILE, &none);
        String output;
        try {
            Process::run(shell("true"), output);
        } catch (const ProcessException& e) {
            EXPECT_EQ(e.getErrorCode(), EMFILE);
            EXPECT_STREQ(e.getMessage(),
                         "Cannot prepare the input of a program: 24(Too many open files)");
            return true;
        }
        return false;
    });
}

TEST(Caller, ThatCannotWaitLeavesNoProgramBehind) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs descriptors of its own to check types";
#endif
    expectInChild([] {
        String output;
        {
            blocxx::ChildProcess child(shell("echo $$; sleep 300"));
            while (output.find('\n') == String::npos) {
                child.collectUntil(Clock::now() + std::chrono::milliseconds(10), output);
            }
            rlimit limit{};
            getrlimit(RLIMIT_NOFILE, &limit);
            const rlimit tooFewToPoll{2, limit.rlim_max};
            setrlimit(RLIMIT_NOFILE, &tooFewToPoll);
            EXPECT_THROW(child.collectUntil(Clock::time_point::max(), output), ProcessException);
            setrlimit(RLIMIT_NOFILE, &limit);
        }
        return !isAlive(std::stoi(output)) && !testing::Test::HasFailure();
    });
}

TEST(Caller, MayIgnoreItsChildren) {
    expectInChild([] {
        signal(SIGCHLD, SIG_IGN);
        String output;
        const bool right = Process::run(shell("exit 5"), output).exitStatus() == 5;
        struct sigaction after = {};
        sigaction(SIGCHLD, nullptr, &after);
        return right && after.sa_handler == SIG_IGN;
    });
}

TEST(Caller, MayBeInterruptedAllTheTime) {
    expectInChild([] {
        struct sigaction action = {};  // no SA_RESTART
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);
        ualarm(1000, 1000);
        Process::Command command = shell("sleep 0.3; cat");
        command.input = String(1'000'000, 'i');
        String output;
        return Process::run(command, output).terminatedSuccessfully() && output == command.input;
    });
}

/// Makes a system call of this process fail with ENOSYS from now on. False when it cannot.
bool withoutSystemCall(unsigned number) {
    sock_filter code[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                          BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
                          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
                          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program = {std::size(code), code};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST(OldKernel, IsServedWithoutItsNewerCalls) {
    for (const unsigned call : {SYS_pidfd_open, SYS_close_range}) {
        expectInChild([&] {
            if (!withoutSystemCall(call)) {
                return true;  // filters are not allowed here
            }
            const int leaked = open("/dev/null", O_RDONLY);
            String output;
            bool right =
                Process::run({{"/bin/ls", "/proc/self/fd"}, {}, "", {}, seconds(60)}, output)
                    .terminatedSuccessfully() &&
                output == "0\n1\n2\n3\n" && leaked > 2;
            const double taken = secondsOf([&] {
                right = right &&
                        Process::run(shell("setsid sleep 2 & exit 3"), output).exitStatus() == 3;
                right = right && Process::run(shell("sleep 300", seconds(1)), output).toString() ==
                                     "stopped by the time limit";
            });
            return right && taken < 10;
        });
    }
}

class Identity : public testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root may change to another account";
        }
    }
    static Process::Command as(uid_t uid, gid_t gid, const String& script) {
        Process::Command command = shell(script);
        command.identity = Process::Identity{uid, gid};
        return command;
    }
};

TEST_F(Identity, HasItsIdsAndNoOtherGroups) {
    EXPECT_EQ(
        outputOf(as(4711, 4712, "grep -E '^(Uid|Gid|Groups|CapPrm|CapEff):' /proc/self/status")),
        "Uid:\t4711\t4711\t4711\t4711\n"
        "Gid:\t4712\t4712\t4712\t4712\n"
        "Groups:\t4712 \n"
        "CapPrm:\t0000000000000000\n"
        "CapEff:\t0000000000000000\n");
}

TEST_F(Identity, MayReadTheInputThroughItsPath) {
    Process::Command command = as(4711, 4712, "cat /dev/stdin");
    command.input = "text";
    EXPECT_EQ(outputOf(command), "text");
}

TEST_F(Identity, ThatCannotBeTakenOnIsAnError) {
    expectInChild([] {
        if (setresuid(4711, 4711, 4711) != 0) {
            return false;
        }
        String output;
        try {
            Process::run(as(4713, 4713, "echo ran"), output);
            return false;
        } catch (const ProcessException& e) {
            return e.getErrorCode() == EPERM && output.empty() &&
                   String(e.getMessage()).find("account") != String::npos;
        }
    });
}

TEST(WaitpidThreadFix, CanOnlyBeSwitchedOff) {
    EXPECT_NO_THROW(blocxx::WaitpidThreadFix::setWaitpidThreadFixEnabled(false));
    EXPECT_THROW(blocxx::WaitpidThreadFix::setWaitpidThreadFixEnabled(true), ProcessException);
}

TEST(MinimalEnvironment, HandsOnNothingButAPlainTimeZone) {
    struct Row {
        const char* zone;
        bool handedOn;
    };
    const Row rows[] = {{"Europe/Berlin", true},
                        {"UTC", true},
                        {"CET-1CEST,M3.5.0,M10.5.0/3", true},
                        {"", false},
                        {"/etc/shadow", false},
                        {":/etc/shadow", false},
                        {"../../etc/shadow", false},
                        {"a/../b", false},
                        {"UTC\nX=1", false},
                        {"$(id)", false}};
    setenv("LD_PRELOAD_KOV", "x", 1);
    setenv("IFS", "x", 1);
    for (const Row& row : rows) {
        setenv("TZ", row.zone, 1);
        const StringArray environment = blocxx::Secure::minimalEnvironment();
        EXPECT_EQ(environment.size(), row.handedOn ? 3U : 2U) << row.zone;
        EXPECT_EQ(environment.back() == String("TZ=") + row.zone, row.handedOn) << row.zone;
    }
    setenv("TZ", String(1000, 'A').c_str(), 1);
    EXPECT_EQ(blocxx::Secure::minimalEnvironment().size(), 2U);
    unsetenv("TZ");
    unsetenv("IFS");
    EXPECT_THAT(blocxx::Secure::minimalEnvironment(),
                ElementsAre("PATH=/bin:/usr/bin:/sbin:/usr/sbin", "SHELL=/bin/sh"));
}

TEST(Accounts, AreFoundByName) {
    const auto root = blocxx::Secure::lookupAccount("root");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->uid, 0U);
    EXPECT_EQ(root->gid, 0U);
    EXPECT_FALSE(blocxx::Secure::lookupAccount("no-such-account-here"));
    EXPECT_FALSE(blocxx::Secure::lookupAccount(""));
}

}  // namespace
