// SPDX-License-Identifier: Apache-2.0
//
// The main program of a command line tool: the options that all have, the command line, and
// failures. A failure is one text on standard error and an exit status, usually 1. The text is one
// line, except for a LinesException and the usage.
#pragma once

#include "blocxx/CmdLineParser.hpp"

namespace blocxx {

/// A command line that can be parsed but makes no sense. `work` may throw it.
BLOCXX_DECLARE_EXCEPTION(Usage)

struct Program {
    /// A program's own ids begin at FIRST_OWN_OPTION.
    enum OptionId { HELP, VERSION, FIRST_OWN_OPTION };

    // Rows for the table of options.
    static constexpr CmdLineParser::Option HELP_OPTION = {
        HELP, 'h', "help", CmdLineParser::E_NO_ARG, nullptr, "Show this help."};
    static constexpr CmdLineParser::Option VERSION_OPTION = {
        VERSION, 'v', "version", CmdLineParser::E_NO_ARG, nullptr, "Show the version."};
    static constexpr CmdLineParser::Option END_OF_OPTIONS = {
        0, 0, nullptr, CmdLineParser::E_NO_ARG, nullptr, nullptr};

    const char* name;
    const char* version;
    /// The usage line after the program's name.
    const char* synopsis;
    const char* description;
    /// The error text for a missing operand. Null: the program takes no operands; empty: it needs
    /// none.
    const char* missingOperand;
    const CmdLineParser::Option* options;
    /// Does the work and returns the exit status. Failures are exceptions, except those not printed
    /// as "error: TEXT".
    int (*work)(const CmdLineParser& parser);
    /// The exit status for a usage error.
    int usageErrorStatus = 2;
    /// The exit status for a failure.
    int failureStatus = 1;
};

/// Parses the command line and carries it out, with the umask 077. Returns the exit status.
int runProgram(const Program& program, int argc, const char* const* argv) noexcept;

}  // namespace blocxx
