// SPDX-License-Identifier: Apache-2.0
//
// Start-up steps of a run: set up the log, check for root, raise the descriptor limit, take the
// lock. Failures are FennikException, except where noted.
#pragma once

#include "blocxx/CmdLineParser.hpp"

namespace KOVNS2 {

/// Sends errors as bare text to standard error and, with --log-file, all messages to that file.
/// Throws LoggerException when the file cannot be opened.
void SetupLogging(const blocxx::CmdLineParser& parser);
/// Throws unless the effective user is root.
void validateUserContext();
/// Raises the limit of open files to 256 when it is lower.
void CheckUlimit();
/// Takes the lock below `prefix` until the process ends, and writes the process id into the lock
/// file. Waits while another run holds it; says so when standard error is a terminal.
void acquireLock(const blocxx::String& prefix);

}  // namespace KOVNS2
