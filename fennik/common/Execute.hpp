// SPDX-License-Identifier: Apache-2.0
//
// Runs external programs without root rights: as the account "owcimomd" when the tool runs as root,
// as the caller otherwise. A program is not run when the account is missing or has root's ids. A
// program that cannot be run is not an exception: the status is "not run", the output the reason.
#pragma once

#include "blocxx/Process.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

/// The resource limits and priority of a program: the caller's own or, when the tool runs as root,
/// those of a service that is started at boot.
enum class Resources { CALLERS, AS_AT_BOOT };

/// Runs argv[0] (a path) with exactly `environment` and `input` as its standard input; `output`
/// receives its standard output and error. Its process group is killed after `timeLimit` seconds
/// (0: no limit). Log lines start with `label`. `status`, unless null, receives how it ended.
void executeUnprivileged(const blocxx::StringArray& argv, blocxx::String& output,
                         const blocxx::String& label, const blocxx::String& input,
                         blocxx::Process::Status* status, int timeLimit,
                         const blocxx::StringArray& environment,
                         Resources resources = Resources::CALLERS);

/// The same for a command line, which is split at blanks, newlines, carriage returns and both tabs.
/// There is no quoting. True when the program ended with exit status 0.
[[nodiscard]] bool executeUnprivilegedB(const blocxx::String& commandLine, blocxx::String& output,
                                        const blocxx::String& label, const blocxx::String& input,
                                        blocxx::Process::Status* status, int timeLimit,
                                        const blocxx::StringArray& environment);

}  // namespace KOVNS2
