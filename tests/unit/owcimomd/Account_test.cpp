// SPDX-License-Identifier: Apache-2.0
//
// Becoming another account, for good and without any rights of root.
#include "owcimomd/process/Account.hpp"

#include <gmock/gmock.h>
#include <grp.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "blocxx/Process.hpp"
#include "tests/unit/blocxx/TemporaryDirectory.hpp"

namespace KovTest {
namespace {

int inChild(const std::function<int()>& action) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(action());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Account, BecomingOneLeavesNothingOfRoot) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become other users";
    }
    EXPECT_EQ(0, inChild([] {
                  const gid_t more[] = {0, 4, 24};
                  ::setgroups(3, more);
                  OwCimomd::becomeAccount("games");
                  const passwd* games = ::getpwnam("games");
                  gid_t groups[8];
                  const int count = ::getgroups(8, groups);
                  const bool isGames =
                      ::getuid() == games->pw_uid && ::geteuid() == games->pw_uid &&
                      ::getgid() == games->pw_gid && count == 1 && groups[0] == games->pw_gid;
                  const bool isForGood = ::setuid(0) != 0 && ::seteuid(0) != 0 && ::setgid(0) != 0;
                  return isGames && isForGood ? 0 : 1;
              }));
}

TEST(Account, AnUnknownOneAndRootAreRefused) {
    EXPECT_THROW(OwCimomd::becomeAccount("no-such-account"), blocxx::ProcessException);
    EXPECT_THROW(OwCimomd::becomeAccount("root"), blocxx::ProcessException);
}

TEST(Account, OneWithTheGroupOfRootIsRefused) {
    constexpr int CANNOT_UNSHARE = 77;
    const TemporaryDirectory directory;
    const std::string users = directory.path() + "/passwd";
    std::ofstream(users) << "half:x:4801:0::/nonexistent:/bin/false\n";
    const int status = inChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount(users.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) != 0) {
            return CANNOT_UNSHARE;
        }
        try {
            OwCimomd::becomeAccount("half");
        } catch (const blocxx::ProcessException& e) {
            EXPECT_THAT(e.getMessage(),
                        ::testing::HasSubstr("\"half\" has root's user or group id"));
            return ::testing::Test::HasFailure() ? 1 : 0;
        }
        return 1;
    });
    if (status == CANNOT_UNSHARE) {
        GTEST_SKIP() << "this process may not have a mount namespace of its own";
    }
    EXPECT_EQ(status, 0);
}

TEST(Account, NamesComeFromTheSystem) {
    EXPECT_EQ("root", OwCimomd::userName(0));
    EXPECT_EQ("", OwCimomd::userName(3999999999U));
}

}  // namespace
}  // namespace KovTest
