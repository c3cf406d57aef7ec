// SPDX-License-Identifier: Apache-2.0
//
// Controls the daemon, through its init script only. Throws FennikException when the script is
// killed, cannot be run, or fails to stop, start or restart the daemon.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

using blocxx::String;

/// Runs the init script with `command` and returns its exit status; `output` receives what it
/// prints. The script gets the resource limits of boot, because the daemon outlives this run.
int runInitScript(const String& command, String& output);
/// 0 when the daemon is running, any other value when it is not.
int cimomStatus();
void stopOwcimomd();
void startOwcimomd();
/// Does nothing for a build system, or when the daemon is not running.
void restartCimomIfRunning(bool buildSystem);

/// Starts the daemon when `wasStopped`. Sets `startFailed` when that fails, otherwise clears it. A
/// failure is logged.
void StartCimomIfTrue(bool wasStopped, bool& startFailed) noexcept;

/// Stops a running daemon and, on destruction, starts it again. Does nothing for a build system, or
/// when the daemon is not running. `startFailed` must outlive the guard.
class StopAndStartCimom {
public:
    StopAndStartCimom(bool buildSystem, bool& startFailed);
    ~StopAndStartCimom();
    StopAndStartCimom(const StopAndStartCimom&) = delete;
    StopAndStartCimom& operator=(const StopAndStartCimom&) = delete;

private:
    bool m_stoppedByMe = false;
    bool& m_startFailed;
};

}  // namespace KOVNS2
