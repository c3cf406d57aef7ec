// SPDX-License-Identifier: Apache-2.0
//
// What kov-setup makes in a new tree.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/system/setup/SetupTree.hpp"

namespace KovSetupTest {
namespace {

using OpenWBEM::RepositoryCIMOMHandle;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

unsigned modeOf(const String& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

TEST_F(SetupTree, FreshTreeHasItsDirectoriesWithTheirModes) {
    const Outcome outcome = setUpTree();
    ASSERT_EQ(outcome.status.toString(), "exited with status 0") << outcome.output;
    EXPECT_EQ(outcome.output, "kov-setup: \"" + repository() + "\" is ready.\n");
    for (const char* directory :
         {"/etc/opt/tarvo/kov/openwbem", "/etc/opt/tarvo/kov/openwbem/openwbem.conf.d",
          "/etc/opt/tarvo/kov/openwbem/privileges",
          "/etc/opt/tarvo/kov/openwbem/privileges/owcimomd", "/var/opt/tarvo/kov",
          "/var/opt/tarvo/kov/openwbem"}) {
        EXPECT_TRUE(std::filesystem::is_directory(path(directory))) << directory;
        EXPECT_EQ(modeOf(path(directory)), 0755U) << directory;
    }
    EXPECT_EQ(modeOf(repository()), 0700U);
    EXPECT_EQ(modeOf(path("/etc/opt/tarvo/kov/openwbem/openwbem.conf")), 0644U);
    EXPECT_FALSE(exists(leftover()));
}

TEST_F(SetupTree, SecondRunChangesNothing) {
    ASSERT_TRUE(setUpTree().status.terminatedSuccessfully());
    ASSERT_TRUE(setUpTree().status.terminatedSuccessfully());  // makes the lock file, too
    const auto before = snapshot(stage());
    const Outcome outcome = setUpTree();
    EXPECT_EQ(outcome.status.toString(), "exited with status 0");
    EXPECT_EQ(outcome.output, "kov-setup: \"" + repository() + "\" is ready.\n");
    EXPECT_EQ(snapshot(stage()), before);
}

TEST_F(SetupTree, LaterRunMakesWhatIsMissingAroundTheRepository) {
    ASSERT_TRUE(setUpTree().status.terminatedSuccessfully());
    const auto before = snapshot(stage());
    std::filesystem::remove_all(path("/etc"));
    EXPECT_TRUE(setUpTree().status.terminatedSuccessfully());
    std::filesystem::remove(path("/var/opt/tarvo/kov/fennik.lock"));
    EXPECT_EQ(snapshot(stage()), before);
}

TEST_F(SetupTree, FreshRepositoryIsOneFileForItsOwnerOnly) {
    ASSERT_TRUE(setUpTree().status.terminatedSuccessfully());
    const String file = repository() + "/" + OpenWBEM::CIMRepository::FILE_NAME;
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(snapshot(repository()).size(), 1U) << "something lies beside the repository file";
}

TEST_F(SetupTree, FreshRepositoryHasTheThreeNamespaces) {
    ASSERT_TRUE(setUpTree().status.terminatedSuccessfully());
    StringArray names;
    OpenWBEM::ArrayBuilder<String> result(names);
    withRepository([&](RepositoryCIMOMHandle& handle) { handle.enumNameSpace(result); });
    EXPECT_THAT(names, UnorderedElementsAre("root", "root/security", "kov"));
}

TEST_F(SetupTree, ConfigurationThatIsThereIsKept) {
    const String config = path("/etc/opt/tarvo/kov/openwbem/openwbem.conf");
    writeFile(config, "owcimomd.debug = yes\n");
    ASSERT_TRUE(setUpTree().status.terminatedSuccessfully());
    EXPECT_EQ(readFile(config), "owcimomd.debug = yes\n");
}

TEST_F(SetupTree, DirectoriesThatAreThereAreKept) {
    const String other = path("/etc/opt/tarvo/kov/openwbem/openwbem.conf.d/other.conf");
    writeFile(other, "x = 1\n");
    std::filesystem::permissions(path("/etc/opt"), std::filesystem::perms::owner_all);
    ASSERT_TRUE(setUpTree().status.terminatedSuccessfully());
    EXPECT_EQ(modeOf(path("/etc/opt")), 0700U);
    EXPECT_EQ(readFile(other), "x = 1\n");
}

TEST_F(SetupTree, HelpNamesEveryOptionAndChangesNothing) {
    const Outcome outcome = setUpTree({"--help"});
    EXPECT_EQ(outcome.status.toString(), "exited with status 0");
    for (const char* option : {"--help", "--version", "--dest-dir", "--schema-dir"}) {
        EXPECT_THAT(outcome.output, HasSubstr(option));
    }
    EXPECT_FALSE(exists(stage()));
}

TEST_F(SetupTree, VersionIsOneLine) {
    const Outcome outcome = setUpTree({"--version"});
    EXPECT_EQ(outcome.status.toString(), "exited with status 0");
    EXPECT_EQ(outcome.output, "kov-setup " KOV_VERSION "\n");
    EXPECT_FALSE(exists(stage()));
}

TEST_F(SetupTree, UnprivilegedCallerCanMakeATree) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "the caller is unprivileged: every other test shows this";
    }
    const blocxx::Process::Identity nobody{65534, 65534};
    if (!runProgram({KOV_SETUP_PROGRAM, "--version"}, nobody).status.terminatedSuccessfully()) {
        GTEST_SKIP() << "other users cannot reach the build directory";
    }
    const String directory = std::filesystem::path(stage()).parent_path().string();
    ASSERT_EQ(chmod(directory.c_str(), 0777), 0);
    const Outcome outcome = runProgram(
        {KOV_SETUP_PROGRAM, "--dest-dir", stage(), "--schema-dir", KOV_SCHEMA_DIR}, nobody);
    EXPECT_EQ(outcome.status.toString(), "exited with status 0") << outcome.output;
    EXPECT_TRUE(exists(repository()));
}

TEST_F(SetupTree, MachineItselfNeedsRoot) {
    std::optional<blocxx::Process::Identity> identity;
    if (geteuid() == 0) {
        identity = {65534, 65534};
        if (!runProgram({KOV_SETUP_PROGRAM, "--version"}, identity)
                 .status.terminatedSuccessfully()) {
            GTEST_SKIP() << "other users cannot reach the build directory";
        }
    }
    const Outcome outcome = runProgram({KOV_SETUP_PROGRAM}, identity);
    EXPECT_EQ(outcome.status.toString(), "exited with status 1");
    EXPECT_THAT(outcome.output, StartsWith("kov-setup: error: it must be run as root"));
}

}  // namespace
}  // namespace KovSetupTest
