// SPDX-License-Identifier: Apache-2.0
//
// The main program of the utilities: common options, the command line, and failures. A failure is
// one text on standard error and exit status 1.
#pragma once

#include "blocxx/CmdLineParser.hpp"
#include "layout/Layout.hpp"

namespace OwUtilities {

using blocxx::CmdLineParser;
using blocxx::String;

enum OptionId { HELP, VERSION, NAMESPACE, DEST_DIR, CHECK, RESERVED, SCHEMA_DIR };

inline constexpr const char* DEFAULT_NAMESPACE = Layout::INTEROP_NS;

// Rows for a program's table of options.
inline constexpr CmdLineParser::Option HELP_OPTION = {
    HELP, 'h', "help", CmdLineParser::E_NO_ARG, nullptr, "Show this help."};
inline constexpr CmdLineParser::Option VERSION_OPTION = {
    VERSION, 'v', "version", CmdLineParser::E_NO_ARG, nullptr, "Show the version."};
inline constexpr CmdLineParser::Option DEST_DIR_OPTION = {
    DEST_DIR,   0,
    "dest-dir", CmdLineParser::E_REQUIRED_ARG,
    nullptr,    "Use the repository below this directory instead of this machine's own."};
inline constexpr CmdLineParser::Option END_OF_OPTIONS = {
    0, 0, nullptr, CmdLineParser::E_NO_ARG, nullptr, nullptr};

struct Program {
    const char* name;
    const char* version;
    /// The usage line after the program's name.
    const char* synopsis;
    const char* description;
    /// The error text for a missing operand. Null: the program takes no operands.
    const char* missingOperand;
    const CmdLineParser::Option* options;
    /// Does the work and returns the exit status. Failures are exceptions, except those not printed
    /// as "error: TEXT".
    int (*work)(const CmdLineParser& parser);
    /// The exit status for a usage error.
    int usageErrorStatus = 2;
};

/// Parses the command line and carries it out. Returns the exit status.
int runProgram(const Program& program, int argc, const char* const* argv) noexcept;

}  // namespace OwUtilities
