// SPDX-License-Identifier: Apache-2.0
//
// Private to Process: a started child and the pipe that it writes to. The destructor kills and
// reaps a child that has not been reaped. The functions throw ProcessException when a system call
// fails.
#pragma once

#include <chrono>

#include "blocxx/File.hpp"
#include "blocxx/Process.hpp"

namespace blocxx {

class ChildProcess {
public:
    using Clock = std::chrono::steady_clock;

    /// Starts the program.
    explicit ChildProcess(const Process::Command& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Appends what the child writes to `output`, up to Process::MAX_OUTPUT bytes in all, until
    /// the child has ended, `deadline` has come or the run is interrupted. True when it has ended.
    bool collectUntil(Clock::time_point deadline, String& output);
    /// Kills the child and its whole process group.
    void kill() noexcept;
    /// Waits until the child has ended. Returns its wait status (waitpid(2)).
    int reap();

private:
    void start(const Process::Command& command, int input, int output);
    void checkStarted(const String& program, int errorPipe);
    bool hasEnded() const;
    void waitForEvent(Clock::time_point deadline) const;
    /// Reads at most `limit` bytes, without waiting.
    void drain(String& output, size_t limit);

    pid_t m_pid = -1;
    File m_exitEvent;  ///< readable when the child has ended; closed where the kernel has no pidfd
    File m_output;     ///< closed once nobody can write to it any more
};

}  // namespace blocxx
