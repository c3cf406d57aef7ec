// SPDX-License-Identifier: Apache-2.0
//
// Options that several utilities have.
#pragma once

#include "blocxx/Program.hpp"
#include "layout/Layout.hpp"

namespace OwUtilities {

using blocxx::CmdLineParser;
using blocxx::Program;
using blocxx::String;

enum OptionId {
    NAMESPACE = Program::FIRST_OWN_OPTION,
    DEST_DIR,
    CHECK,
    DELETE_CLASS,
    DELETE_QUALIFIER_TYPE,
    RESERVED,
    SCHEMA_DIR
};

inline constexpr const char* DEFAULT_NAMESPACE = Layout::INTEROP_NS;

inline constexpr CmdLineParser::Option DEST_DIR_OPTION = {
    DEST_DIR,   0,
    "dest-dir", CmdLineParser::E_REQUIRED_ARG,
    nullptr,    "Use the repository below this directory instead of this machine's own."};

}  // namespace OwUtilities
