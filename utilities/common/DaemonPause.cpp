// SPDX-License-Identifier: Apache-2.0
#include "utilities/common/DaemonPause.hpp"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Process.hpp"
#include "blocxx/Secure.hpp"
#include "layout/Layout.hpp"

namespace OwUtilities {

using blocxx::Format;

namespace {

// A daemon with a large repository may take long. After a day it is assumed to hang.
constexpr std::chrono::hours TIME_LIMIT{24};

/// Blocks the signals by which a user or the system ends a process, for a scope.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
            sigaddset(&ending, signal);
        }
        sigprocmask(SIG_BLOCK, &ending, &m_before);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t m_before = {};
};

blocxx::Process::Status runInitScript(const char* command, String& output) {
    return blocxx::Process::run({.argv = {Layout::INIT_SCRIPT, command},
                                 .environment = blocxx::Secure::minimalEnvironment(),
                                 .input = {},
                                 .identity = blocxx::Secure::unprivilegedAccount(Layout::ACCOUNT),
                                 .timeLimit = TIME_LIMIT,
                                 .asAtBoot = true},
                                output);
}

void control(const char* command) {
    String output;
    const blocxx::Process::Status status = runInitScript(command, output);
    if (!status.terminatedSuccessfully()) {
        output.erase(output.find_last_not_of('\n') + 1);
        BLOCXX_THROW(blocxx::Exception, Format("\"%1 %2\" %3 and printed: %4", Layout::INIT_SCRIPT,
                                               command, status, output));
    }
}

/// Starts the daemon. Returns why it failed, as the end of a message; empty on success.
String failureToStart() {
    try {
        control("start");
        return {};
    } catch (const blocxx::Exception& e) {
        return Format("owcimomd is stopped and could not be started again: %1", e.getMessage());
    }
}

}  // namespace

blocxx::File takeRunLock(const String& prefix) {
    const String path = prefix + Layout::LOCK_FILE;
    blocxx::File lock = blocxx::FileSystem::openOrCreateFile(path);
    if (!lock) {
        BLOCXX_THROW_ERRNO(blocxx::Exception,
                           Format("cannot open the lock file \"%1\"", path).toString());
    }
    if (lock.getOwnLock(blocxx::File::E_WRITE_LOCK, blocxx::File::E_DONT_WAIT) != 0) {
        BLOCXX_THROW(blocxx::Exception,
                     Format("fennik is running: it holds \"%1\". Wait for its end, then run the "
                            "command again",
                            path));
    }
    return lock;
}

bool isDaemonRunning() {
    String output;
    return runInitScript("status", output).terminatedSuccessfully();
}

void withDaemonStopped(const std::function<void()>& work) {
    if (geteuid() != 0) {
        BLOCXX_THROW(blocxx::Exception,
                     "owcimomd has to be stopped meanwhile, and only root can do that");
    }
    const SignalsHeld held;
    control("stop");
    String failure;
    try {
        work();
    } catch (const blocxx::Exception& e) {
        failure = failureToStart();
        if (!failure.empty()) {
            BLOCXX_THROW(blocxx::Exception, Format("%1; %2", e.getMessage(), failure));
        }
        throw;
    } catch (...) {
        failureToStart();
        throw;
    }
    failure = failureToStart();
    if (!failure.empty()) {
        BLOCXX_THROW(blocxx::Exception, "everything was done, but " + failure);
    }
}

}  // namespace OwUtilities
