// SPDX-License-Identifier: Apache-2.0
//
// When kov-setup refuses or fails, it says why in one message and leaves no incomplete repository.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/system/setup/SetupTree.hpp"

namespace KovSetupTest {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

void expectError(const Outcome& outcome) {
    EXPECT_EQ(outcome.status.toString(), "exited with status 1") << outcome.output;
    EXPECT_THAT(outcome.output, StartsWith("kov-setup: error: "));
}

TEST_F(SetupTree, DamagedRepositoryIsNamedAndLeftAsItIs) {
    ASSERT_TRUE(setUpTree().status.terminatedSuccessfully());
    const String file = repository() + "/repository.db";
    String content = readFile(file);
    content.replace(content.size() / 2, 4096, String(4096, 'x'));
    writeFile(file, content);
    const Outcome outcome = setUpTree();
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr("\"" + file + "\""));
    EXPECT_THAT(outcome.output, HasSubstr("the file is damaged"));
    EXPECT_EQ(readFile(file), content);
}

TEST_F(SetupTree, WhateverHasTheNameOfTheRepositoryIsLeftAsItIs) {
    std::filesystem::create_directories(path("/var/opt/tarvo/kov/openwbem"));
    std::filesystem::create_symlink("/nowhere", repository());
    const auto before = snapshot(stage());
    const Outcome outcome = setUpTree();
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr("\"" + repository() + "\" is not a directory"));
    EXPECT_EQ(snapshot(stage()), before);
}

TEST_F(SetupTree, BackupOfAnInterruptedSwapIsNotShadowed) {
    const String backup = path("/var/opt/tarvo/kov/openwbem/repository-back_LKjs2354");
    std::filesystem::create_directories(backup);
    const Outcome outcome = setUpTree();
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr("mv \"" + backup + "\" \"" + repository() + "\""));
    EXPECT_FALSE(exists(repository()));
}

TEST_F(SetupTree, LeftoverIsNamedAndNotUsed) {
    writeFile(leftover() + "/repository.db", "half");
    const auto before = snapshot(stage());
    const Outcome outcome = setUpTree();
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr("\"" + leftover() + "\""));
    EXPECT_THAT(outcome.output, HasSubstr("remove it"));
    EXPECT_EQ(snapshot(stage()), before);
}

TEST_F(SetupTree, RunKilledBeforeTheRenameLeavesNoRepositoryAndCanBeRepeated) {
    Outcome killed;
    setUpTreeInjecting("renameat2:signal=SIGKILL", killed);
    if (IsSkipped()) {
        return;
    }
    EXPECT_FALSE(killed.status.terminatedSuccessfully());
    EXPECT_FALSE(exists(repository()));
    ASSERT_TRUE(exists(leftover()));
    expectError(setUpTree());
    std::filesystem::remove_all(leftover());
    EXPECT_TRUE(setUpTree().status.terminatedSuccessfully());
}

struct Fault {
    const char* name;
    const char* injection;
    const char* text;
};

void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.injection;
}

class FailingSystem : public SetupTree, public ::testing::WithParamInterface<Fault> {};

TEST_P(FailingSystem, LeavesNoRepositoryAndNoLeftover) {
    Outcome outcome;
    setUpTreeInjecting(GetParam().injection, outcome);
    if (IsSkipped()) {
        return;
    }
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr(GetParam().text));
    EXPECT_FALSE(exists(repository()));
    EXPECT_FALSE(exists(leftover()));
    const Outcome again = setUpTree();
    EXPECT_TRUE(again.status.terminatedSuccessfully()) << again.output;
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FailingSystem,
    ::testing::Values(Fault{"FullDisk", "pwrite64:error=ENOSPC", "repository.db"},
                      Fault{"FullDiskLater", "pwrite64:error=ENOSPC:when=20+", "repository.db"},
                      Fault{"FailingSync", "fsync,fdatasync:error=EIO", "\""},
                      Fault{"FailingRename", "renameat2:error=EACCES", "cannot rename"},
                      Fault{"FailingMkdir", "mkdir:error=EROFS", "cannot make the directory"}),
    [](const auto& info) { return String(info.param.name); });

TEST_F(SetupTree, PrefixThatIsAFileIsNamed) {
    writeFile(stage(), "not a directory");
    const Outcome outcome = setUpTree();
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr(stage()));
    EXPECT_EQ(readFile(stage()), "not a directory");
}

TEST_F(SetupTree, MissingSchemaIsNamedAndLeavesNoRepository) {
    const Outcome outcome = setUpTree({"--schema-dir", "/nowhere"});
    expectError(outcome);
    EXPECT_THAT(
        outcome.output,
        HasSubstr("there is no schema: \"/nowhere/qualifiers.mof\" does not exist; put the schema "
                  "there, or name its directory with --schema-dir"));
    EXPECT_FALSE(exists(repository()));
    EXPECT_FALSE(exists(leftover()));
}

TEST_F(SetupTree, BrokenSchemaIsReportedWithItsPlaceAndLeavesNoRepository) {
    const String schema = path("/schema");
    std::filesystem::create_directories(schema);
    std::filesystem::copy(KOV_SCHEMA_DIR, schema);
    writeFile(schema + "/kov.mof", "class KOV_Product {\n    string 1;\n};\n");
    const Outcome outcome = setUpTree({"--schema-dir", schema});
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr(schema + "/kov.mof:2:12: error: "));
    EXPECT_FALSE(exists(repository()));
    EXPECT_FALSE(exists(leftover()));
}

TEST_F(SetupTree, EmptyPrefixDoesNotMeanTheMachineItself) {
    const Outcome outcome = runProgram({KOV_SETUP_PROGRAM, "--dest-dir", ""});
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr("--dest-dir needs a directory"));
}

struct BadCommandLine {
    const char* name;
    StringArray arguments;
    const char* text;
};

void PrintTo(const BadCommandLine& row, std::ostream* out) {
    *out << row.name;
}

class BadArguments : public ::testing::TestWithParam<BadCommandLine> {};

TEST_P(BadArguments, AreNamedWithTheUsage) {
    StringArray argv = {KOV_SETUP_PROGRAM};
    argv.insert(argv.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    const Outcome outcome = runProgram(argv);
    expectError(outcome);
    EXPECT_THAT(outcome.output, HasSubstr(GetParam().text));
    EXPECT_THAT(outcome.output, HasSubstr("Usage: kov-setup"));
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, BadArguments,
    ::testing::Values(BadCommandLine{"Unknown", {"--frob"}, "unknown option: "},
                      BadCommandLine{"WithoutValue", {"--dest-dir"}, "needs an argument: "},
                      BadCommandLine{"Abbreviated", {"--dest", "/x"}, "unknown option: "},
                      BadCommandLine{"Stray", {"here"}, "unexpected argument: "}),
    [](const auto& info) { return String(info.param.name); });

}  // namespace
}  // namespace KovSetupTest
