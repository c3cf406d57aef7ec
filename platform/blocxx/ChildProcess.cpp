// SPDX-License-Identifier: Apache-2.0
//
// The parent's side of running a program.
#include "blocxx/ChildProcess.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include "blocxx/ChildExec.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"

namespace blocxx {

namespace {

// How often to check whether the child has ended on a kernel without pidfd.
constexpr std::chrono::milliseconds ASK_INTERVAL{10};
constexpr size_t READ_SIZE = 65536;

[[noreturn]] void throwErrno(std::string_view purpose) {
    BLOCXX_THROW_ERRNO(ProcessException, purpose);
}

/// The file, or a copy of it above the standard streams, which the child replaces.
File aboveStandardStreams(const File& file) {
    if (file.getFileDescriptor() > STDERR_FILENO) {
        return file;
    }
    const File high(::fcntl(file.getFileDescriptor(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!high) {
        throwErrno("Cannot prepare a descriptor for a program");
    }
    return high;
}

struct Pipe {
    Pipe() {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throwErrno("Cannot make a pipe to a program");
        }
        readSide = File(ends[0]);
        writeSide = File(ends[1]);
        readSide = aboveStandardStreams(readSide);
        writeSide = aboveStandardStreams(writeSide);
    }
    File readSide;
    File writeSide;
};

/// A file in memory with the input. A program that does not read it neither blocks the caller nor
/// causes SIGPIPE, as it would with a pipe.
File inputFile(const String& input) {
    const File memory(::memfd_create("input", MFD_CLOEXEC));
    if (!memory) {
        throwErrno("Cannot prepare the input of a program");
    }
    File file = aboveStandardStreams(memory);
    if (!writeAll(file.getFileDescriptor(), input) ||
        ::lseek(file.getFileDescriptor(), 0, SEEK_SET) != 0) {
        throwErrno("Cannot prepare the input of a program");
    }
    return file;
}

/// The array that execve takes. It points into `strings`.
Array<char*> pointersTo(const StringArray& strings) {
    Array<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (const String& text : strings) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// Keeps the caller's signal handlers from running in the child.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t m_before;
};

}  // namespace

ChildProcess::ChildProcess(const Process::Command& command) {
    const File input = inputFile(command.input);
    Pipe output;
    m_output = output.readSide;
    if (::fcntl(m_output.getFileDescriptor(), F_SETFL, O_NONBLOCK) != 0) {
        throwErrno("Cannot prepare the output of a program");
    }
    start(command, input.getFileDescriptor(), output.writeSide.getFileDescriptor());
}

void ChildProcess::start(const Process::Command& command, int input, int output) {
    const Array<char*> argv = pointersTo(command.argv);
    const Array<char*> environment = pointersTo(command.environment);
    Pipe errors;
    const ChildPlan plan{argv.data(),
                         environment.data(),
                         command.identity,
                         command.asAtBoot,
                         input,
                         output,
                         errors.writeSide.getFileDescriptor()};
    {
        const AllSignalsBlocked blocked;
        m_pid = ::fork();
        if (m_pid == 0) {
            execProgram(plan);
        }
    }
    if (m_pid < 0) {
        throwErrno("Cannot make a process for a program");
    }
    // The child does the same. Whichever comes first, the group exists before it can be killed.
    ::setpgid(m_pid, m_pid);
    static_cast<void>(errors.writeSide.close());
    try {
        checkStarted(command.argv[0], errors.readSide.getFileDescriptor());
        m_exitEvent = File(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
    } catch (...) {
        kill();
        reap();
        throw;
    }
}

void ChildProcess::checkStarted(const String& program, int errorPipe) {
    ChildFailure failure = {};
    ssize_t count = 0;
    do {
        count = ::read(errorPipe, &failure, sizeof failure);
    } while (count < 0 && errno == EINTR);
    if (count == sizeof failure) {
        const Format purpose("Cannot run \"%1\": %2", program, failure.step);
        errno = static_cast<int>(failure.errnum);
        throwErrno(purpose.toString());
    }
}

ChildProcess::~ChildProcess() {
    if (m_pid > 0) {
        kill();
        try {
            reap();
        } catch (...) {  // NOLINT(bugprone-empty-catch): nothing is left to wait for
        }
    }
}

bool ChildProcess::collectUntil(Clock::time_point deadline, String& output) {
    while (true) {
        if (hasEnded()) {
            // All that it wrote is in the pipe now. Other processes that hold the pipe may write
            // without end, so this reads only what is there.
            int waiting = 0;
            if (m_output && ::ioctl(m_output.getFileDescriptor(), FIONREAD, &waiting) == 0) {
                drain(output, static_cast<size_t>(waiting));
            }
            return true;
        }
        if (Clock::now() >= deadline || Interruption::isPending()) {
            return false;
        }
        waitForEvent(deadline);
        drain(output, READ_SIZE);
    }
}

bool ChildProcess::hasEnded() const {
    siginfo_t info = {};
    if (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 &&
        errno != EINTR) {
        throwErrno("Cannot wait for a program");
    }
    return info.si_pid == m_pid;
}

void ChildProcess::waitForEvent(Clock::time_point deadline) const {
    // poll ignores the negative descriptors of closed files.
    std::array<pollfd, 3> events{pollfd{m_output.getFileDescriptor(), POLLIN, 0},
                                 pollfd{m_exitEvent.getFileDescriptor(), POLLIN, 0},
                                 pollfd{Interruption::descriptor(), POLLIN, 0}};
    // Rounded up, so that the last millisecond is not a busy loop.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    const auto longest =
        m_exitEvent ? std::chrono::milliseconds(std::chrono::hours(1)) : ASK_INTERVAL;
    const auto timeout = std::clamp(left, std::chrono::milliseconds(0), longest);
    if (::poll(events.data(), events.size(), static_cast<int>(timeout.count())) < 0 &&
        errno != EINTR) {
        throwErrno("Cannot wait for a program");
    }
}

void ChildProcess::drain(String& output, size_t limit) {
    std::array<char, READ_SIZE> buffer;
    while (m_output && limit > 0) {
        const ssize_t count = m_output.read(buffer.data(), std::min(buffer.size(), limit));
        if (count > 0) {
            const size_t room = Process::MAX_OUTPUT - std::min(output.size(), Process::MAX_OUTPUT);
            output.append(buffer.data(), std::min(static_cast<size_t>(count), room));
            limit -= static_cast<size_t>(count);
        } else if (count == 0) {
            static_cast<void>(m_output.close());
        } else if (errno == EAGAIN) {
            return;
        } else {
            throwErrno("Cannot read the output of a program");
        }
    }
}

void ChildProcess::kill() noexcept {
    // The child has not been reaped, so the number still belongs to it.
    ::kill(-m_pid, SIGKILL);
    ::kill(m_pid, SIGKILL);
}

int ChildProcess::reap() {
    int status = 0;
    pid_t pid = -1;
    do {
        pid = ::waitpid(m_pid, &status, 0);
    } while (pid < 0 && errno == EINTR);
    m_pid = -1;
    if (pid < 0) {
        throwErrno("Cannot wait for a program");
    }
    return status;
}

}  // namespace blocxx
