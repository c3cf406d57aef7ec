// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Process.hpp"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ostream>

#include "blocxx/ChildProcess.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"

namespace blocxx {

namespace Process {

Status Status::fromWaitStatus(int waitStatus) {
    Status status;
    status.m_kind = Kind::WAITED;
    status.m_waitStatus = waitStatus;
    return status;
}

Status Status::timedOut(int waitStatus) {
    Status status = fromWaitStatus(waitStatus);
    status.m_kind = Kind::TIMED_OUT;
    return status;
}

bool Status::terminated() const noexcept {
    return m_kind == Kind::WAITED && WIFEXITED(m_waitStatus);
}

int Status::exitStatus() const noexcept {
    return WEXITSTATUS(m_waitStatus);
}

String Status::toString() const {
    if (m_kind == Kind::NOT_RUN) {
        return "not run";
    }
    if (m_kind == Kind::TIMED_OUT) {
        return "stopped by the time limit";
    }
    if (terminated()) {
        return Format("exited with status %1", exitStatus());
    }
    const int signal = WTERMSIG(m_waitStatus);
    const char* name = sigdescr_np(signal);
    return Format("killed by signal %1 (%2)", signal, name != nullptr ? name : "unknown");
}

std::ostream& operator<<(std::ostream& out, const Status& status) {
    return out << status.toString();
}

namespace {

/// Sets SIGCHLD to its default for a scope. A process that ignores it, perhaps because its parent
/// did, loses the exit statuses of its children.
class DefaultSigchld {
public:
    DefaultSigchld() {
        struct sigaction standard = {};
        standard.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, nullptr, &m_before);
        m_changed = m_before.sa_handler == SIG_IGN || (m_before.sa_flags & SA_NOCLDWAIT) != 0;
        if (m_changed) {
            sigaction(SIGCHLD, &standard, nullptr);
        }
    }
    ~DefaultSigchld() {
        if (m_changed) {
            sigaction(SIGCHLD, &m_before, nullptr);
        }
    }
    DefaultSigchld(const DefaultSigchld&) = delete;
    DefaultSigchld& operator=(const DefaultSigchld&) = delete;

private:
    struct sigaction m_before = {};
    bool m_changed = false;
};

// A NUL would silently cut a word short.
bool hasNul(const StringArray& words) {
    return std::ranges::any_of(words,
                               [](const String& word) { return word.find('\0') != String::npos; });
}

}  // namespace

Status run(const Command& command, String& output) {
    output.clear();
    if (command.argv.empty() || hasNul(command.argv) || hasNul(command.environment)) {
        BLOCXX_THROW_ERR(ProcessException, "Cannot run a program without a valid command", EINVAL);
    }
    using Clock = ChildProcess::Clock;
    constexpr std::chrono::seconds noLimit{0};
    constexpr std::chrono::seconds longest = std::chrono::hours(24 * 366 * 10);
    const Clock::time_point deadline = command.timeLimit > noLimit
                                           ? Clock::now() + std::min(command.timeLimit, longest)
                                           : Clock::time_point::max();
    const DefaultSigchld kept;
    ChildProcess child(command);
    if (child.collectUntil(deadline, output)) {
        return Status::fromWaitStatus(child.reap());
    }
    const bool isLate = Clock::now() >= deadline;
    child.kill();
    const Interruption::Deferred deferred;
    child.collectUntil(Clock::time_point::max(), output);
    const int waitStatus = child.reap();
    return isLate ? Status::timedOut(waitStatus) : Status::fromWaitStatus(waitStatus);
}

}  // namespace Process

void WaitpidThreadFix::setWaitpidThreadFixEnabled(bool enabled) {
    if (enabled) {
        BLOCXX_THROW(ProcessException, "Children are waited for by the thread that started them");
    }
}

}  // namespace blocxx
