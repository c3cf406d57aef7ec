// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Program.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace blocxx {
namespace {

constexpr CmdLineParser::Option OPTIONS[] = {Program::HELP_OPTION, Program::END_OF_OPTIONS};

/// What a program prints as its error when its work does that. It must end with `status`.
String errorOf(int (*work)(const CmdLineParser&), int status = 1) {
    const Program program{"tool", "1", "[options]", "Does nothing.", nullptr, OPTIONS, work};
    constexpr const char* ARGUMENTS[] = {"tool"};
    testing::internal::CaptureStderr();
    EXPECT_EQ(runProgram(program, 1, ARGUMENTS), status);
    return testing::internal::GetCapturedStderr();
}

TEST(RunProgram, PrintsAFailureOnOneLineWhateverNamesAreInIt) {
    EXPECT_EQ(errorOf([](const CmdLineParser&) -> int {
                  BLOCXX_THROW(Exception, "no \"a\ntool: error: forged\r\x1b[2J\"");
              }),
              "tool: error: no \"a\\ntool: error: forged\\r\\x1b[2J\"\n");
    EXPECT_EQ(errorOf([](const CmdLineParser&) -> int { throw std::runtime_error("a\nb"); }),
              "tool: error: a\\nb\n");
}

TEST(RunProgram, KeepsTheLinesOfAMessageThatIsLaidOutInThem) {
    EXPECT_EQ(errorOf([](const CmdLineParser&) -> int {
                  BLOCXX_THROW(LinesException, "here:\n  x\x1b\n  ^");
              }),
              "tool: error: here:\n  x\\x1b\n  ^\n");
}

TEST(RunProgram, PrintsTheUsageBelowTheLineThatTellsWhatIsWrong) {
    const String printed = errorOf(
        [](const CmdLineParser&) -> int { BLOCXX_THROW(UsageException, "what\nis this"); }, 2);
    EXPECT_THAT(printed, testing::StartsWith("tool: error: what\\nis this\n\nUsage: tool [options]"
                                             "\n\nDoes nothing.\n\nOptions:\n"));
}

}  // namespace
}  // namespace blocxx
