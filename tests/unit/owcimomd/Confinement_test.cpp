// SPDX-License-Identifier: Apache-2.0
//
// What a confined process can no longer do, and what it still can. Each is tried in a child.
#include "owcimomd/process/Confinement.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/landlock.h>
#include <linux/sched.h>
#include <pwd.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <thread>

#include "blocxx/FileSystem.hpp"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using ::testing::HasSubstr;

bool hasLandlock() {
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
}

class Confined : public ::testing::Test {
protected:
    /// Confines a child that may write in the directory "own" and has it run `action`. Returns its
    /// exit status, or 1000 and the signal that killed it.
    int run(const std::function<int()>& action) const {
        const pid_t child = ::fork();
        if (child == 0) {
            OwCimomd::renounceNewPrivileges();
            OwCimomd::confine({own(), m_directory.path() + "/missing"});
            ::_exit(action());
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }
    /// The errno of a call that fails; 0 when it does not.
    int failureOf(const std::function<long()>& call) const {
        return run([&] { return call() < 0 ? errno : 0; });
    }
    String own() const {
        const String path = m_directory.path() + "/own";
        ::mkdir(path.c_str(), 0755);
        return path;
    }

    TemporaryDirectory m_directory;
};

long create(const String& path) {
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
}

TEST_F(Confined, CannotDoWhatServingNeverTakes) {
    const struct {
        const char* sentence;
        std::function<long()> call;
        int failure = EPERM;
    } rows[] = {
        {"change the user", [] { return ::setuid(1); }},
        {"change the groups", [] { return ::syscall(SYS_setgroups, 0, nullptr); }},
        {"leave the namespaces", [] { return ::unshare(CLONE_NEWUSER); }},
        {"make a namespace with a child",
         [] {
             return ::syscall(SYS_clone, CLONE_NEWUSER | SIGCHLD, nullptr, nullptr, nullptr, 0);
         }},
        {"clone with flags that no filter sees",
         [] {
             clone_args arguments{};
             return ::syscall(SYS_clone3, &arguments, sizeof arguments);
         },
         ENOSYS},
        {"mount", [] { return ::mount("none", "/mnt", "tmpfs", 0, nullptr); }},
        {"change the root", [] { return ::chroot("/"); }},
        {"load into the kernel", [] { return ::syscall(SYS_bpf, 0, nullptr, 0); }},
        {"make a ring", [] { return ::syscall(SYS_io_uring_setup, 1, nullptr); }},
        {"read another process", [] { return ::syscall(SYS_process_vm_readv, 1, 0, 0, 0, 0, 0); }},
        {"type at a terminal", [] { return ::ioctl(0, TIOCSTI, "x"); }},
        {"listen to the wire", [] { return ::socket(AF_PACKET, SOCK_RAW, 0); }, EAFNOSUPPORT},
        {"talk to hypervisors", [] { return ::socket(AF_VSOCK, SOCK_STREAM, 0); }, EAFNOSUPPORT},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.failure, failureOf(row.call)) << row.sentence;
    }
}

TEST_F(Confined, CannotStartAProgramOrTraceAnother) {
    if (!MEMORY_COUNTS) {
        GTEST_SKIP() << "a sanitizer needs both";
    }
    EXPECT_EQ(EPERM, failureOf([] { return ::execl("/bin/true", "true", nullptr); }));
    EXPECT_EQ(EPERM, failureOf([] { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }));
}

TEST_F(Confined, WritesInItsOwnDirectoriesAlone) {
    if (!hasLandlock()) {
        GTEST_SKIP() << "this kernel has no Landlock";
    }
    const String foreign = m_directory.path() + "/foreign";
    writeFile(foreign, "content");
    EXPECT_EQ(EACCES, failureOf([&] { return ::open(foreign.c_str(), O_RDWR | O_CLOEXEC); }));
    EXPECT_EQ(EACCES, failureOf([&] { return ::truncate(foreign.c_str(), 0); }));
    EXPECT_EQ(EACCES, failureOf([&] { return ::unlink(foreign.c_str()); }));
    EXPECT_EQ(EACCES, failureOf([&] { return create(m_directory.path() + "/new"); }));
    EXPECT_EQ(EACCES, failureOf([&] { return ::symlink("/", (own() + "/link").c_str()); }));
    EXPECT_EQ("content", blocxx::FileSystem::getFileContents(foreign));
    EXPECT_EQ(0, failureOf([&] {
                  const String path = own() + "/new";
                  return create(path) < 0 ? -1 : ::truncate(path.c_str(), 1);
              }));
    EXPECT_EQ(0, failureOf([&] { return ::unlink((own() + "/new").c_str()); }));
}

TEST_F(Confined, StillLooksUsersUpAndReachesTheirServices) {
    EXPECT_EQ(
        0, run([] { return ::getpwuid(0) != nullptr && ::getpwnam("nobody") != nullptr ? 0 : 1; }));
    for (const int family : {AF_UNIX, AF_INET, AF_INET6}) {
        EXPECT_EQ(0, failureOf([=] {
                      const int fd = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
                      return fd < 0 && errno == EAFNOSUPPORT && family == AF_INET6 ? 0 : fd;
                  }))
            << family;
    }
    EXPECT_EQ(0, failureOf([] { return ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, 0); }));
    EXPECT_EQ(0, failureOf([] { return ::open("/etc/passwd", O_RDONLY | O_CLOEXEC); }));
}

TEST_F(Confined, StillHasChildrenAndThreads) {
    EXPECT_EQ(0, run([] {
                  const pid_t child = ::fork();
                  if (child == 0) {
                      ::_exit(7);
                  }
                  int status = 0;
                  const bool isForked =
                      ::waitpid(child, &status, 0) == child && WEXITSTATUS(status) == 7;
                  int seen = 0;
                  std::thread([&seen] { seen = 1; }).join();
                  return isForked && seen == 1 ? 0 : 1;
              }));
}

TEST(ConfinedDaemon, HasNoNewPrivilegesAndAFilter) {
    LiveDaemon daemon;
    daemon.connect()->enumClassNamesA("root", "");
    std::ifstream file("/proc/" + std::to_string(daemon.pid()) + "/status");
    const String status((std::istreambuf_iterator<char>(file)), {});
    EXPECT_THAT(status, HasSubstr("NoNewPrivs:\t1\n"));
    EXPECT_THAT(status, HasSubstr("Seccomp:\t2\n"));
    EXPECT_THAT(daemon.log(), ::testing::Not(HasSubstr("without the lock on system calls")));
}

}  // namespace
}  // namespace KovTest
