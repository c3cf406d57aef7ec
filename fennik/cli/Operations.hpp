// SPDX-License-Identifier: Apache-2.0
//
// The operations of the command line as rows of one table. A handler reads its values from the
// command line, calls the operation, prints its result and sees to the daemon.
#pragma once

#include <span>

#include "blocxx/CmdLineParser.hpp"
#include "fennik/cli/Options.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

/// What a run knows when its operation starts.
struct Run {
    const blocxx::CmdLineParser& parser;
    bool buildSystem;       ///< a staged tree: the daemon is left alone
    blocxx::String prefix;  ///< put in front of every absolute path
    OpenWBEM::CIMOMHandleIFCRef handle;
    bool startFailed = false;  ///< the daemon could not be started again
};

struct Operation {
    OptionId option;
    void (*handler)(Run&);
    bool isChange;  ///< there may be something to undo
};

/// In the order in which they are looked for: the first one whose option is set is carried out.
std::span<const Operation> operations();

}  // namespace KOVNS2
