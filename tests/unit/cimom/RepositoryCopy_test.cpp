// SPDX-License-Identifier: Apache-2.0
//
// The part of a copy's life that a staged tree shows: the copy is never opened there. The stories
// of the installed tool test the swap.
#include "fennik/cimom/RepositoryCopy.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include "blocxx/Secure.hpp"
#include "fennik/common/FennikException.hpp"
#include "openwbem/model/CIMException.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KOVNS2 {

using Testing::CapturedLog;
using Testing::StagedTree;
namespace fs = std::filesystem;

namespace {

constexpr const char* COPY = "/var/opt/tarvo/kov/openwbem/repository-copy_QLkJ235";
constexpr const char* BACKUP = "/var/opt/tarvo/kov/openwbem/repository-back_LKjs2354";

String messageOf(const String& prefix, int code) {
    try {
        const RepositoryCopy copy(prefix);
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), code);
        return e.getMessage();
    }
    ADD_FAILURE() << "no FennikException";
    return {};
}

void expectBackupInTheWay(const StagedTree& tree, const char* errnum) {
    const String backup = tree.prefix() + BACKUP;
    const auto before = tree.files();
    try {
        const RepositoryCopy copy(tree.prefix());
        ADD_FAILURE() << "it was not refused";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), 27);
        EXPECT_EQ(String(e.getMessage()), "Unable to move " + tree.repositoryDirectory().string() +
                                              " to " + backup + ". ::rename set errno = " + errnum);
        ASSERT_NE(e.getOtherException(), nullptr);
        EXPECT_STREQ(e.getOtherException()->type(), "FileSystemException");
        EXPECT_EQ(String(e.getOtherException()->getMessage()),
                  "\"" + backup +
                      "\" is in the way. An earlier run that was interrupted after it had put the "
                      "new repository in place leaves it behind; the repository is complete "
                      "without it. Remove it and run fennik again");
    }
    EXPECT_EQ(tree.files(), before);
}

bool canRunPrograms() {
    return ::geteuid() != 0 || blocxx::Secure::lookupAccount("owcimomd").has_value();
}

}  // namespace

TEST(RepositoryCopyTest, RefusesWhileAnEarlierCopyIsThere) {
    const StagedTree tree;
    const String copy = tree.prefix() + COPY;
    fs::create_directory(copy);
    Testing::writeFile(copy + "/precious", "kept");
    const auto before = tree.files();
    EXPECT_EQ(messageOf(tree.prefix(), 26),
              "An error occured while creating a copy of the repository. " + copy +
                  " : directory already exists. You should remove this directory and run fennik "
                  "again.");
    EXPECT_EQ(tree.files(), before);
}

TEST(RepositoryCopyTest, NeverRemovesAFileThatHasItsName) {
    const StagedTree tree;
    Testing::writeFile(tree.prefix() + COPY, "precious");
    const auto before = tree.files();
    messageOf(tree.prefix(), 26);
    EXPECT_EQ(tree.files(), before);
}

TEST(RepositoryCopyTest, RefusesWhatWillBeInTheWayOfTheBackup) {
    const StagedTree tree;
    const String backup = tree.prefix() + BACKUP;
    fs::create_directory(backup);
    Testing::writeFile(backup + "/repository.db", "old");
    expectBackupInTheWay(tree, "39");
    fs::remove_all(backup);
    Testing::writeFile(backup, "a file");
    expectBackupInTheWay(tree, "20");
    fs::remove(backup);
    fs::create_symlink("nowhere", backup);
    expectBackupInTheWay(tree, "20");
}

TEST(RepositoryCopyTest, NeverHasABackupRemovedThatMayBeTheOnlyRepository) {
    const StagedTree tree;
    fs::rename(tree.repositoryDirectory(), tree.prefix() + BACKUP);
    const auto before = tree.files();
    EXPECT_EQ(messageOf(tree.prefix(), 26).find("is in the way"), String::npos);
    EXPECT_EQ(tree.files(), before);
}

TEST(RepositoryCopyTest, RunsNothingForARepositoryThatIsALink) {
    const StagedTree tree;
    const fs::path elsewhere = tree.prefix() + "/elsewhere";
    fs::rename(tree.repositoryDirectory(), elsewhere);
    fs::create_directory_symlink(elsewhere, tree.repositoryDirectory());
    const auto before = tree.files();
    EXPECT_NE(messageOf(tree.prefix(), 26)
                  .find("Failed with status message: not run\n and output Nothing was copied: the "
                        "repository directory is a link.\n"),
              String::npos);
    EXPECT_EQ(tree.files(), before);
}

TEST(RepositoryCopyTest, ReportsACopyCommandThatFails) {
    const StagedTree tree;
    fs::remove_all(tree.repositoryDirectory());
    const auto before = tree.files();
    const String message = messageOf(tree.prefix(), 26);
    const String start = "Unable to copy the repository directory. /bin/cp -pR " +
                         tree.repositoryDirectory().string() + " " + tree.prefix() + COPY +
                         " Failed with status message: ";
    EXPECT_EQ(message.substr(0, start.size()), start);
    EXPECT_NE(message.find("\n and output "), String::npos);
    EXPECT_EQ(tree.files(), before);
}

TEST(RepositoryCopyTest, RefusesAPathWithBlanks) {
    const StagedTree tree;
    const String message = messageOf(tree.prefix() + " x", 26);
    EXPECT_NE(message.find("not run\n and output The path has blanks in it.\n"), String::npos);
}

TEST(RepositoryCopyTest, RunsNoProgramAsRootWithoutTheAccount) {
    if (canRunPrograms()) {
        GTEST_SKIP() << "not root, or the account owcimomd exists";
    }
    const StagedTree tree;
    const auto before = tree.files();
    const CapturedLog log;
    EXPECT_NE(messageOf(tree.prefix(), 26).find("The account \"owcimomd\" does not exist"),
              String::npos);
    EXPECT_EQ(tree.files(), before);
}

TEST(RepositoryCopyTest, IsNotOpenedBelowAPrefixAndRemoved) {
    if (!canRunPrograms() || ::geteuid() == 0) {
        GTEST_SKIP() << "root runs cp as an account that may not read this tree";
    }
    const StagedTree tree;
    const auto before = tree.files();
    const CapturedLog log;
    try {
        const RepositoryCopy copy(tree.prefix());
        ADD_FAILURE() << "it was opened";
    } catch (const OpenWBEM::CIMException& e) {
        EXPECT_EQ(e.getErrNo(), OpenWBEM::CIMException::FAILED);
        EXPECT_NE(String(e.getMessage()).find(tree.prefix() + COPY), String::npos);
    }
    EXPECT_EQ(tree.files(), before);
    EXPECT_TRUE(log.errors().empty());
    EXPECT_EQ(log.debugLines().front(), "Initializing copy of repository");
}

}  // namespace KOVNS2
