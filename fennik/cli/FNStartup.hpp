// SPDX-License-Identifier: Apache-2.0
//
// What has to hold before any operation: errors reach the user, the user is root, enough files may
// be open, and no other run is under way. Failures are FennikException; a log file that cannot be
// opened is LoggerException.
#pragma once

#include "blocxx/CmdLineParser.hpp"

namespace KOVNS2 {

/// Errors as bare text to standard error and, with --log-file, everything to that file.
void SetupLogging(const blocxx::CmdLineParser& parser);
/// Throws unless the effective user is root.
void validateUserContext();
/// Makes sure that at least 256 files may be open.
void CheckUlimit();
/// Takes the lock below `prefix` and holds it until the process ends; the lock file then holds this
/// process's number. Waits while another run has it; a caller at a terminal is told so.
void acquireLock(const blocxx::String& prefix);

}  // namespace KOVNS2
