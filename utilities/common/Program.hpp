// SPDX-License-Identifier: Apache-2.0
//
// What the main programs of the utilities share: the options that several of them have, their
// command lines and their failures. A failure is one text on standard error and exit status 1.
#pragma once

#include "blocxx/CmdLineParser.hpp"
#include "layout/Layout.hpp"

namespace OwUtilities {

using blocxx::CmdLineParser;
using blocxx::String;

enum OptionId { HELP, VERSION, NAMESPACE, DEST_DIR, CHECK, RESERVED, SCHEMA_DIR };

inline constexpr const char* DEFAULT_NAMESPACE = Layout::INTEROP_NS;

// Rows for a program's option table.
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
    /// The words after the name.
    const char* synopsis;
    const char* description;
    /// What is said when there is no operand. Null: the program takes none.
    const char* missingOperand;
    const CmdLineParser::Option* options;
    /// Does the work and returns the exit status. Failures are exceptions, except those not printed
    /// as "error: TEXT".
    int (*work)(const CmdLineParser& parser);
    /// The exit status for a command line that cannot be read.
    int usageErrorStatus = 2;
};

/// Reads the command line and does what it says. Returns the exit status; throws nothing.
int runProgram(const Program& program, int argc, const char* const* argv) noexcept;

}  // namespace OwUtilities
