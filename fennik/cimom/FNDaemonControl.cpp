// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/FNDaemonControl.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/Secure.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/Execute.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/UnitLog.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::Logger;

namespace {

// A daemon with a large repository may take long. After a day it is assumed to hang. In seconds.
constexpr int INIT_SCRIPT_TIME_LIMIT = 86400;

void runOrThrow(const String& command, const char* messageHead, int errorCode) {
    String output;
    const int status = runInitScript(command, output);
    if (status != 0) {
        const Format tail(" exited with status %1 and output: %2", status, output);
        throw FennikException(messageHead + tail.toString(), errorCode);
    }
}

}  // namespace

int runInitScript(const String& command, String& output) {
    const Logger logger("fennik");
    BLOCXX_LOG_DEBUG(logger, Format("Runing init script with command \"%1\"", command));
    const String commandLine = Layout::INIT_SCRIPT + (" " + command);
    blocxx::Process::Status status;
    // A signal must not interrupt the script halfway through a start or a stop.
    const blocxx::Interruption::Deferred deferred;
    executeUnprivileged(blocxx::tokenize(commandLine), output, "InitScript: ", "", &status,
                        INIT_SCRIPT_TIME_LIMIT, blocxx::Secure::minimalEnvironment(),
                        Resources::AS_AT_BOOT);
    if (!status.terminated()) {
        throw FennikException(
            Format("Failed running %1: %2 and output: %3", commandLine, status, output),
            ErrorCode::INIT_SCRIPT_FAILED);
    }
    BLOCXX_LOG_DEBUG(logger, Format("Init script returned %1", status));
    return status.exitStatus();
}

int cimomStatus() {
    String output;
    return runInitScript("status", output);
}

void stopOwcimomd() {
    runOrThrow("stop", "Failed to stop owcimomd. /opt/tarvo/kov/sbin/tarvo-owcimomd_init",
               ErrorCode::DAEMON_NOT_STOPPED);
}

void startOwcimomd() {
    runOrThrow("start", "Failed starting owcimomd. /opt/tarvo/kov/sbin/tarvo-owcimomd_init",
               ErrorCode::DAEMON_NOT_STARTED);
}

void restartCimomIfRunning(bool buildSystem) {
    if (!buildSystem && cimomStatus() == 0) {
        runOrThrow("restart", "Failed restarting owcimomd. /opt/tarvo/kov/sbin/tarvo-owcimomd_init",
                   ErrorCode::INIT_SCRIPT_FAILED);
    }
}

void StartCimomIfTrue(bool wasStopped, bool& startFailed) noexcept {
    startFailed = wasStopped;
    if (!wasStopped) {
        return;
    }
    const blocxx::Interruption::Deferred deferred;
    try {
        startOwcimomd();
        startFailed = false;
    } catch (const FennikException& e) {
        logError(Format("Failed to start cimom.  Details: %1", e));
    } catch (...) {
        logError("An unknown error has occurred while trying to start owcimomd.\n");
    }
}

StopAndStartCimom::StopAndStartCimom(bool buildSystem, bool& startFailed)
    : m_startFailed(startFailed) {
    if (buildSystem || cimomStatus() != 0) {
        return;
    }
    m_stoppedByMe = true;
    stopOwcimomd();
}

StopAndStartCimom::~StopAndStartCimom() {
    StartCimomIfTrue(m_stoppedByMe, m_startFailed);
}

}  // namespace KOVNS2
