// SPDX-License-Identifier: Apache-2.0
//
// A service inherits its limits from process 1, which has the kernel's, or those that the
// administrator or a container has set. The exception is the number of open files: systemd raises
// its own limit to a thousand million and starts services with lower ones.
#include "blocxx/BootSurroundings.hpp"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

namespace blocxx {

namespace {

constexpr pid_t INIT = 1;
// What systemd gives to services.
constexpr rlim_t SOFT_OPEN_FILES = 1024;
constexpr rlim_t HARD_OPEN_FILES = 512 * 1024;
constexpr unsigned long TIMER_SLACK = 50'000;  // nanoseconds; what the kernel gives process 1
constexpr mode_t FILE_MODE_MASK = 022;

using Resource = __rlimit_resource;

void setLimit(Resource resource, rlimit limit) noexcept {
    rlimit current = {};
    if (setrlimit(resource, &limit) != 0 && getrlimit(resource, &current) == 0) {
        // Some containers do not let root raise a hard limit.
        current.rlim_cur = std::min(limit.rlim_cur, current.rlim_max);
        setrlimit(resource, &current);
    }
}

void takeLimits() noexcept {
    for (int number = 0; number < RLIM_NLIMITS; ++number) {
        const auto resource = static_cast<Resource>(number);
        rlimit limit = {};
        if (prlimit(INIT, resource, nullptr, &limit) != 0) {
            continue;
        }
        if (resource == RLIMIT_NOFILE) {
            limit.rlim_max = std::min(limit.rlim_max, HARD_OPEN_FILES);
            limit.rlim_cur = std::min(limit.rlim_cur, SOFT_OPEN_FILES);
        }
        setLimit(resource, limit);
    }
}

void takePriorities() noexcept {
    const sched_param none = {};
    sched_setscheduler(0, SCHED_OTHER, &none);
    setpriority(PRIO_PROCESS, 0, 0);
    constexpr int IOPRIO_WHO_PROCESS = 1;
    syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, 0);
    prctl(PR_SET_TIMERSLACK, TIMER_SLACK, 0, 0, 0);
    cpu_set_t processors;
    if (sched_getaffinity(INIT, sizeof processors, &processors) == 0) {
        sched_setaffinity(0, sizeof processors, &processors);
    }
}

/// When memory is short, the kernel then treats this process like any other.
void takeOomScore() noexcept {
    const int fd = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (fd >= 0) {
        static_cast<void>(!write(fd, "0", 1));
        close(fd);
    }
}

}  // namespace

void takeBootSurroundings() noexcept {
    takeLimits();
    takePriorities();
    takeOomScore();
    umask(FILE_MODE_MASK);
}

}  // namespace blocxx
