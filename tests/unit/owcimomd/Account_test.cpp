// SPDX-License-Identifier: Apache-2.0
//
// Becoming another account, for good and without any rights of root.
#include "owcimomd/process/Account.hpp"

#include <gmock/gmock.h>
#include <grp.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "owcimomd/process/DaemonException.hpp"

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
    EXPECT_THROW(OwCimomd::becomeAccount("no-such-account"), OwCimomd::DaemonException);
    EXPECT_THROW(OwCimomd::becomeAccount("root"), OwCimomd::DaemonException);
}

TEST(Account, NamesComeFromTheSystem) {
    EXPECT_EQ("root", OwCimomd::userName(0));
    EXPECT_EQ("", OwCimomd::userName(3999999999U));
}

}  // namespace
}  // namespace KovTest
