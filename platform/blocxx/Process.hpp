// SPDX-License-Identifier: Apache-2.0
//
// Runs a program without a shell: as a chosen account, with a chosen environment, in a process
// group of its own, with no descriptors but its standard streams.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace blocxx {

BLOCXX_DECLARE_EXCEPTION(Process)

namespace Process {

/// How a program ended.
class Status {
public:
    /// Not run.
    Status() = default;
    /// From a wait status of waitpid(2).
    static Status fromWaitStatus(int waitStatus);
    /// Killed because its time was up.
    static Status timedOut(int waitStatus);

    /// Whether it ended by itself with an exit status.
    bool terminated() const noexcept;
    /// The exit status; only meaningful when terminated().
    int exitStatus() const noexcept;
    /// Whether it ended by itself with exit status 0.
    bool terminatedSuccessfully() const noexcept { return terminated() && exitStatus() == 0; }
    /// "exited with status 3", "killed by signal 9 (Killed)", "stopped by the time limit", "not
    /// run".
    String toString() const;

private:
    enum class Kind { NOT_RUN, WAITED, TIMED_OUT };
    Kind m_kind = Kind::NOT_RUN;
    int m_waitStatus = 0;
};

std::ostream& operator<<(std::ostream& out, const Status& status);

/// The account that a program runs as. It has no groups but `gid`.
struct Identity {
    uid_t uid;
    gid_t gid;
};

struct Command {
    StringArray argv;                   ///< argv[0] is the path of the program
    StringArray environment;            ///< the whole environment, as NAME=VALUE
    String input;                       ///< fed to standard input
    std::optional<Identity> identity;   ///< none: the caller's own
    std::chrono::seconds timeLimit{0};  ///< none when it is not positive
    /// Gives the program the limits and priority of a service that is started at boot. Has no
    /// effect unless the caller is root.
    bool asAtBoot = false;
};

/// How much of a program's output is kept, in bytes. A program of another account may write without
/// end.
inline constexpr size_t MAX_OUTPUT = size_t{1} << 20;

/// Runs the command and replaces `output` by its standard output and error together; drops what
/// exceeds MAX_OUTPUT bytes. Waits for the end of the program, not for others that hold the pipe.
/// Kills its whole process group at the time limit and when the run is interrupted
/// (Interruption.hpp). Throws a ProcessException that names the program and the reason when it
/// cannot be started.
Status run(const Command& command, String& output);

}  // namespace Process

namespace WaitpidThreadFix {
/// The thread that started a child always waits for it: false does nothing, and true throws
/// ProcessException.
void setWaitpidThreadFixEnabled(bool enabled);
}  // namespace WaitpidThreadFix

}  // namespace blocxx
