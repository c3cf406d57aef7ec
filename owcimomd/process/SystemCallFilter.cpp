// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/SystemCallFilter.hpp"

#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace OwCimomd {

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool IS_SANITIZED = true;
#elif defined(__has_feature)
constexpr bool IS_SANITIZED = __has_feature(address_sanitizer);
#else
constexpr bool IS_SANITIZED = false;
#endif

constexpr const char* REFUSED[] = {
    // other users and their rights
    "setuid", "setgid", "setreuid", "setregid", "setresuid", "setresgid", "setgroups", "setfsuid",
    "setfsgid", "capset",
    // other processes
    "process_vm_readv", "process_vm_writev", "process_madvise", "kcmp", "pidfd_getfd",
    // namespaces, mounts and devices
    "unshare", "setns", "chroot", "pivot_root", "mount", "umount", "umount2", "mount_setattr",
    "move_mount", "open_tree", "fsopen", "fsconfig", "fsmount", "fspick", "mknod", "mknodat",
    "open_by_handle_at", "quotactl", "quotactl_fd", "swapon", "swapoff", "fanotify_init",
    // the kernel and the machine
    "init_module", "finit_module", "delete_module", "kexec_load", "kexec_file_load", "bpf",
    "perf_event_open", "userfaultfd", "io_uring_setup", "io_uring_enter", "io_uring_register",
    "syslog", "acct", "reboot", "vhangup", "iopl", "ioperm", "modify_ldt", "lookup_dcookie",
    "nfsservctl", "sethostname", "setdomainname", "settimeofday", "stime", "clock_settime",
    "clock_settime64", "clock_adjtime", "clock_adjtime64", "adjtimex"};

// A sanitizer looks for leaks with ptrace and starts a program that names functions.
constexpr const char* REFUSED_UNLESS_SANITIZED[] = {"execve", "execveat", "ptrace"};

constexpr unsigned NAMESPACE_FLAGS[] = {CLONE_NEWNS,  CLONE_NEWUTS, CLONE_NEWIPC,   CLONE_NEWUSER,
                                        CLONE_NEWPID, CLONE_NEWNET, CLONE_NEWCGROUP};

// For clients, the system's log and what modules that look users up ask: services of the machine,
// of the network, and the kernel about the network.
constexpr int SOCKETS[] = {AF_UNIX, AF_INET, AF_INET6, AF_NETLINK};
constexpr int LARGEST_FAMILY = 63;

/// Of clone(2): the architectures differ in the order of its arguments.
#ifdef __s390__
constexpr unsigned CLONE_FLAGS = 1;
#else
constexpr unsigned CLONE_FLAGS = 0;
#endif

/// A filter in the making. Remembers the first failure.
class Filter {
public:
    Filter() : m_context(seccomp_init(SCMP_ACT_ALLOW), seccomp_release) {
        note(m_context
                 ? seccomp_attr_set(m_context.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS)
                 : -ENOMEM);
    }

    /// A call that this library does not know yet cannot be refused.
    template <class... Conditions>
    void refuse(const char* name, int error, Conditions... conditions) {
        const int call = seccomp_syscall_resolve_name(name);
        if (call != __NR_SCMP_ERROR && m_failure == 0) {
            note(seccomp_rule_add(m_context.get(), SCMP_ACT_ERRNO(static_cast<unsigned>(error)),
                                  call, sizeof...(conditions), conditions...));
        }
    }

    /// 0 or an errno.
    int load() {
        if (m_failure == 0) {
            note(seccomp_load(m_context.get()));
        }
        return m_failure;
    }

private:
    void note(int result) {
        if (result < 0) {
            m_failure = -result;
        }
    }

    std::unique_ptr<void, decltype(&seccomp_release)> m_context;
    int m_failure = 0;
};

scmp_arg_cmp has(unsigned argument, scmp_datum_t bits) {
    return {argument, SCMP_CMP_MASKED_EQ, bits, bits};
}

/// The kernel looks at the lower half of such an argument only.
scmp_arg_cmp is(unsigned argument, unsigned value) {
    return {argument, SCMP_CMP_MASKED_EQ, 0xffffffff, value};
}

void refuseSockets(Filter& filter) {
    for (int family = 0; family <= LARGEST_FAMILY; ++family) {
        if (std::find(std::begin(SOCKETS), std::end(SOCKETS), family) == std::end(SOCKETS)) {
            filter.refuse("socket", EAFNOSUPPORT, is(0, static_cast<unsigned>(family)));
        }
    }
}

}  // namespace

int filterSystemCalls() noexcept {
    Filter filter;
    for (const char* name : REFUSED) {
        filter.refuse(name, EPERM);
    }
    if (!IS_SANITIZED) {
        for (const char* name : REFUSED_UNLESS_SANITIZED) {
            filter.refuse(name, EPERM);
        }
    }
    // A filter cannot see the flags of clone3: they are in memory.
    filter.refuse("clone3", ENOSYS);
    for (const unsigned flag : NAMESPACE_FLAGS) {
        filter.refuse("clone", EPERM, has(CLONE_FLAGS, flag));
    }
    // They put words into the mouth of whoever sits at the terminal.
    filter.refuse("ioctl", EPERM, is(1, TIOCSTI));
    filter.refuse("ioctl", EPERM, is(1, TIOCLINUX));
    refuseSockets(filter);
    return filter.load();
}

}  // namespace OwCimomd
