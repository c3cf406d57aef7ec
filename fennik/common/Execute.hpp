// SPDX-License-Identifier: Apache-2.0
//
// Running external programs without the tool's root rights: as the account "owcimomd" when the tool
// runs as root, as the caller otherwise. There is no way back to root: when the account is missing
// the program is not run. Nothing here throws for a program that cannot be run; the status says
// "not run" and the output says why.
#pragma once

#include "blocxx/Process.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

/// The caller's own, or, when root asks, those of a service that is started at boot.
enum class Resources { CALLERS, AS_AT_BOOT };

/// Runs argv[0] (a path) with exactly `environment`, feeds it `input` and collects its standard
/// output and error in `output`. After `timeLimit` seconds (0: none) its process group is killed.
/// `label` starts the log lines. `status`, when not null, tells how it ended. `resources`: the
/// limits and the priority that it has.
void executeUnprivileged(const blocxx::StringArray& argv, blocxx::String& output,
                         const blocxx::String& label, const blocxx::String& input,
                         blocxx::Process::Status* status, int timeLimit,
                         const blocxx::StringArray& environment,
                         Resources resources = Resources::CALLERS);

/// The same for a command line, split at blanks, newlines, carriage returns and both tabs, without
/// any quoting. True when the program ran and ended with exit status 0.
[[nodiscard]] bool executeUnprivilegedB(const blocxx::String& commandLine, blocxx::String& output,
                                        const blocxx::String& label, const blocxx::String& input,
                                        blocxx::Process::Status* status, int timeLimit,
                                        const blocxx::StringArray& environment);

}  // namespace KOVNS2
