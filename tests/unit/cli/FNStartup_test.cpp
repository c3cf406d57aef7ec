// SPDX-License-Identifier: Apache-2.0
//
// The checks at start-up. Each runs in a child, because limits and locks belong to a process.
#include "fennik/cli/FNStartup.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "fennik/common/FennikException.hpp"
#include "tests/unit/fennik/TemporaryDirectory.hpp"

namespace KOVNS2::Testing {
namespace {

/// Runs `body` in a child. Returns the child's exit status.
int inChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(body());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool setLimit(rlim_t soft, rlim_t hard) {
    const rlimit limit{soft, hard};
    return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

bool limitIs(rlim_t soft, rlim_t hard) {
    rlimit limit{};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur == soft &&
           limit.rlim_max == hard;
}

TEST(DescriptorLimit, SoftLimitAtTheFloorIsLeftAlone) {
    EXPECT_EQ(inChild([] {
                  setLimit(256, 512);
                  CheckUlimit();
                  return limitIs(256, 512) ? 0 : 1;
              }),
              0);
}

TEST(DescriptorLimit, LowerSoftLimitBecomesTheFloorAndSoDoesTheHardLimit) {
    EXPECT_EQ(inChild([] {
                  setLimit(255, 512);
                  CheckUlimit();
                  return limitIs(256, 256) ? 0 : 1;
              }),
              0);
}

TEST(UserContext, OnlyRootPasses) {
    const int status = inChild([] {
        if (::geteuid() == 0 && ::seteuid(65534) != 0) {
            return 99;
        }
        try {
            validateUserContext();
        } catch (const FennikException& e) {
            return String(e.getMessage()) == "fennik must be run as root" ? e.getErrorCode() : 98;
        }
        return 0;
    });
    EXPECT_EQ(status, 8);
    if (::geteuid() == 0) {
        EXPECT_NO_THROW(validateUserContext());
    }
}

TEST(Lock, MissingDirectoryIsNamedWithTheReason) {
    const TemporaryDirectory directory;
    try {
        acquireLock(directory.path().string());
        ADD_FAILURE() << "locked";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), 9);
        EXPECT_EQ(String(e.getMessage()), "Failed to open lock file " + directory.path().string() +
                                              "/var/opt/tarvo/kov/fennik.lock: No such file or "
                                              "directory");
    }
}

}  // namespace
}  // namespace KOVNS2::Testing
