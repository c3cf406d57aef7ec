// SPDX-License-Identifier: Apache-2.0
//
// The table of operations. A handler reads its operands from the command line, calls the operation,
// prints the result and stops, starts or restarts the daemon as needed.
#pragma once

#include <span>

#include "blocxx/CmdLineParser.hpp"
#include "fennik/cli/Options.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// The context of a run, passed to its handler.
struct Run {
    const blocxx::CmdLineParser& parser;
    bool buildSystem;       ///< works on a staged tree and leaves the daemon alone
    blocxx::String prefix;  ///< put in front of every absolute path
    OpenWBEM::CIMOMHandleIFCRef handle;
    bool startFailed = false;  ///< set when the daemon could not be started again
};

struct Operation {
    OptionId option;
    void (*handler)(Run&);
    bool isChange;  ///< has undo steps, so signals must not end the process at once
};

/// In order of precedence: a run carries out the first operation whose option is set.
std::span<const Operation> operations();

}  // namespace KOVNS2
