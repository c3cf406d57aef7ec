// SPDX-License-Identifier: Apache-2.0
//
// Running programs as the account instead of root, and what happens when the account is missing.
// Each test replaces the account database in a mount namespace of its own.
#include "fennik/common/Execute.hpp"

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "blocxx/FileSystem.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/Secure.hpp"
#include "tests/unit/blocxx/TemporaryDirectory.hpp"

namespace Process = blocxx::Process;
using blocxx::String;
using blocxx::StringArray;

namespace {

constexpr int CANNOT_UNSHARE = 77;

const char* const ROOT_ENTRY = "root:x:0:0:root:/root:/bin/sh\n";
const char* const ACCOUNT_ENTRY = "owcimomd:x:4801:4802::/nonexistent:/bin/false\n";

class Unprivileged : public testing::Test {
protected:
    /// Runs `body` in a child that sees `accounts` as the account database.
    void withAccounts(const String& accounts, const std::function<bool()>& body) {
        std::ofstream(m_dir / "passwd") << accounts;
        const int status = inChild([&] {
            const bool ready =
                unshare(CLONE_NEWNS) == 0 &&
                mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                mount((m_dir / "passwd").c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) == 0;
            return ready ? static_cast<int>(!body()) : CANNOT_UNSHARE;
        });
        if (status == CANNOT_UNSHARE) {
            GTEST_SKIP() << "this process may not have a mount namespace of its own";
        }
        EXPECT_EQ(status, 0);
    }

    static int inChild(const std::function<int()>& body) {
        const pid_t pid = fork();
        if (pid == 0) {
            const int status = body();
            _exit(status == 0 && testing::Test::HasFailure() ? 1 : status);
        }
        int status = -1;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    static String ids(Process::Status& status) {
        String output;
        KOVNS2::executeUnprivileged({"/usr/bin/id"}, output, "Test: ", "", &status, 60,
                                    blocxx::Secure::minimalEnvironment());
        return output;
    }

    TemporaryDirectory m_dir;
};

TEST_F(Unprivileged, MeansTheAccountWhenRootAsks) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may change to another account";
    }
    withAccounts(String(ROOT_ENTRY) + ACCOUNT_ENTRY, [] {
        String output;
        const bool done = KOVNS2::executeUnprivilegedB(
            "/bin/grep -E ^(Uid|Gid|Groups): /proc/self/status", output,
            "executeUnprivileged: ", "", nullptr, 60, blocxx::Secure::minimalEnvironment());
        EXPECT_EQ(output,
                  "Uid:\t4801\t4801\t4801\t4801\nGid:\t4802\t4802\t4802\t4802\nGroups:\t4802 \n");
        return done;
    });
}

TEST_F(Unprivileged, NeverMeansRootWhenTheAccountIsMissing) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root would have rights to lose";
    }
    withAccounts(ROOT_ENTRY, [this] {
        Process::Status status = Process::Status::fromWaitStatus(0);
        const String output = ids(status);
        EXPECT_EQ(status.toString(), "not run");
        EXPECT_THAT(output, testing::HasSubstr("The account \"owcimomd\" does not exist"));
        String text;
        return !KOVNS2::executeUnprivilegedB("/usr/bin/touch " + (m_dir / "made"), text, "", "",
                                             nullptr, 60, {}) &&
               !blocxx::FileSystem::exists(m_dir / "made");
    });
}

TEST_F(Unprivileged, NeverMeansAnAccountWithRootsIds) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root would have rights to lose";
    }
    for (const char* entry :
         {"owcimomd:x:0:4802::/:/bin/false\n", "owcimomd:x:4801:0::/:/bin/false\n"}) {
        withAccounts(entry, [] {
            Process::Status status = Process::Status::fromWaitStatus(0);
            const String output = ids(status);
            EXPECT_THAT(output, testing::HasSubstr("has root's"));
            return status.toString() == "not run";
        });
    }
}

TEST_F(Unprivileged, MeansTheCallerWhenItIsNotRoot) {
    const int status = inChild([] {
        if (geteuid() == 0 && setresuid(4711, 4711, 4711) != 0) {
            return 1;
        }
        Process::Status ended;
        EXPECT_THAT(ids(ended), testing::HasSubstr("uid=" + std::to_string(geteuid())));
        return static_cast<int>(!ended.terminatedSuccessfully());
    });
    EXPECT_EQ(status, 0);
}

/// Tests that do not depend on the account. They run as an ordinary user.
class Executing : public Unprivileged {
protected:
    void asOrdinaryUser(const std::function<bool()>& body) {
        EXPECT_EQ(inChild([&] {
                      const bool ready = geteuid() != 0 || setresuid(4711, 4711, 4711) == 0;
                      return static_cast<int>(!ready || !body());
                  }),
                  0);
    }
};

TEST_F(Executing, SplitsTheLineAtEveryBlank) {
    asOrdinaryUser([] {
        String output;
        Process::Status status;
        const bool done = KOVNS2::executeUnprivilegedB(" /usr/bin/printf\t%s|\na\r b\v\"c  d\" ",
                                                       output, "", "", &status, 60, {});
        EXPECT_EQ(output, "a|b|\"c|d\"|");
        EXPECT_TRUE(status.terminatedSuccessfully());
        return done;
    });
}

TEST_F(Executing, HandsInputEnvironmentAndStatusThrough) {
    asOrdinaryUser([] {
        String output;
        Process::Status status;
        KOVNS2::executeUnprivileged({"/bin/sh", "-c", "cat; echo $A >&2; exit 3"}, output, "",
                                    "in ", &status, 60, {"A=env"});
        EXPECT_EQ(output, "in env\n");
        return status.terminated() && status.exitStatus() == 3;
    });
}

TEST_F(Executing, ReportsFailureThroughItsResult) {
    asOrdinaryUser([] {
        String output;
        Process::Status status;
        EXPECT_FALSE(KOVNS2::executeUnprivilegedB("/bin/false", output, "", "", &status, 60, {}));
        EXPECT_EQ(status.toString(), "exited with status 1");
        EXPECT_FALSE(KOVNS2::executeUnprivilegedB("/nonexistent", output, "", "", &status, 60, {}));
        EXPECT_EQ(status.toString(), "not run");
        EXPECT_THAT(output, testing::HasSubstr("\"/nonexistent\""));
        EXPECT_FALSE(KOVNS2::executeUnprivilegedB(" ", output, "", "", &status, 60, {}));
        EXPECT_EQ(status.toString(), "not run");
        EXPECT_FALSE(KOVNS2::executeUnprivilegedB("/bin/sleep 60", output, "", "", &status, 1, {}));
        return status.toString() == "stopped by the time limit";
    });
}

TEST_F(Executing, LabelsItsLogLines) {
    asOrdinaryUser([] {
        blocxx::LogAppender::setDefaultLogAppender(new blocxx::CerrAppender(
            blocxx::LogAppender::ALL_COMPONENTS, blocxx::LogAppender::ALL_CATEGORIES, "%p %c %m"));
        testing::internal::CaptureStderr();
        String output;
        const bool done = KOVNS2::executeUnprivilegedB("/bin/echo a b", output, "InitScript: ", "",
                                                       nullptr, 60, {});
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "DEBUG fennik InitScript: Running \"/bin/echo\" \"a\" \"b\"\n"
                  "DEBUG fennik InitScript: exited with status 0, output: a b\n\n");
        return done;
    });
}

}  // namespace
