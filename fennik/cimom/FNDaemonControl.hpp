// SPDX-License-Identifier: Apache-2.0
//
// The daemon, managed through its init script only. A script that does not end by itself, or that
// fails to stop, start or restart the daemon, is a FennikException.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

using blocxx::String;

/// Runs the init script with `command`, as at boot: a daemon that it starts outlives this run and
/// must not have its caller's limits. What it prints goes to `output`. Returns its exit status.
int runInitScript(const String& command, String& output);
/// 0 when the daemon runs, anything else when it does not.
int cimomStatus();
void stopOwcimomd();
void startOwcimomd();
/// Does nothing for a build system or when the daemon does not run.
void restartCimomIfRunning(bool buildSystem);

/// Starts the daemon when `wasStopped`. Never throws: a failure is logged and sets `startFailed`,
/// which is cleared when there is nothing to start.
void StartCimomIfTrue(bool wasStopped, bool& startFailed) noexcept;

/// Holds the daemon stopped during its life: stops it when it runs and, if so, starts it again in
/// the end. Does nothing for a build system. `startFailed` must outlive the guard.
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
