// SPDX-License-Identifier: Apache-2.0
//
// The child's side of starting a program. Order matters: the standard streams are in place before
// the other descriptors are closed, and the groups change while the user id still permits it.
#include "blocxx/ChildExec.hpp"

#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "blocxx/BootSurroundings.hpp"

namespace blocxx {

namespace {

constexpr int ERROR_PIPE = STDERR_FILENO + 1;
constexpr int EXIT_CANNOT_RUN = 127;

[[noreturn]] void fail(const char* step, int errorPipe) noexcept {
    const ChildFailure failure{step, errno};
    static_cast<void>(!::write(errorPipe, &failure, sizeof failure));
    _exit(EXIT_CANNOT_RUN);
}

void resetSignals() noexcept {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal) {
        sigaction(signal, &action, nullptr);  // fails for those that cannot have a handler
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool closeFrom(unsigned first) noexcept {
    if (syscall(SYS_close_range, first, ~0U, 0) == 0) {
        return true;
    }
    rlimit limit = {};
    if (errno != ENOSYS || getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return false;
    }
    for (rlim_t fd = first; fd < limit.rlim_cur; ++fd) {
        close(static_cast<int>(fd));
    }
    return true;
}

/// Sets up the standard streams, moves the error pipe to ERROR_PIPE and closes everything else.
bool arrangeDescriptors(const ChildPlan& plan) noexcept {
    return dup2(plan.input, STDIN_FILENO) >= 0 && dup2(plan.output, STDOUT_FILENO) >= 0 &&
           dup2(plan.output, STDERR_FILENO) >= 0 &&
           (plan.errorPipe == ERROR_PIPE || dup3(plan.errorPipe, ERROR_PIPE, O_CLOEXEC) >= 0) &&
           closeFrom(ERROR_PIPE + 1);
}

bool isExactly(const Process::Identity& identity) noexcept {
    uid_t uids[3];
    gid_t gids[3];
    if (getresuid(&uids[0], &uids[1], &uids[2]) != 0 ||
        getresgid(&gids[0], &gids[1], &gids[2]) != 0) {
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        if (uids[i] != identity.uid || gids[i] != identity.gid) {
            errno = EPERM;
            return false;
        }
    }
    return true;
}

/// Changes to the account. Fails with errno set, also when the process could become root again.
bool changeIdentity(const Process::Identity& identity) noexcept {
    if (setgroups(1, &identity.gid) != 0 ||
        setresgid(identity.gid, identity.gid, identity.gid) != 0 ||
        setresuid(identity.uid, identity.uid, identity.uid) != 0 || !isExactly(identity)) {
        return false;
    }
    if (identity.uid != 0 && (setuid(0) == 0 || seteuid(0) == 0)) {
        errno = EPERM;
        return false;
    }
    return true;
}

}  // namespace

void execProgram(const ChildPlan& plan) noexcept {
    if (setpgid(0, 0) != 0) {
        fail("making a process group", plan.errorPipe);
    }
    resetSignals();
    if (!arrangeDescriptors(plan)) {
        fail("arranging the descriptors", plan.errorPipe);
    }
    if (plan.asAtBoot && geteuid() == 0) {
        takeBootSurroundings();
    }
    if (plan.identity && !changeIdentity(*plan.identity)) {
        fail("changing to the account", ERROR_PIPE);
    }
    execve(plan.argv[0], plan.argv, plan.environment);
    fail("starting it", ERROR_PIPE);
}

}  // namespace blocxx
