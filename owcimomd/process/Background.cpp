// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/Background.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "blocxx/Exception.hpp"
#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "blocxx/Process.hpp"

namespace OwCimomd {

namespace {

// What the daemon tells through the pipe: a line with this and one for each warning, or the reason
// why it could not start.
constexpr std::string_view READY = "ready\n";
constexpr int FIRST_INHERITED = 3;

/// When nobody listens any more, there is nobody to be told of it.
void tell(int pipe, std::string_view text) noexcept {
    static_cast<void>(blocxx::writeAll(pipe, text));
}

/// The standard streams lead nowhere, and the one end of the pipe is all that is left.
void letGoOfEverything(int pipe) {
    const int nowhere = ::open("/dev/null", O_RDWR | O_NOCTTY);
    if (nowhere < 0 || ::dup2(nowhere, STDIN_FILENO) < 0 || ::dup2(nowhere, STDOUT_FILENO) < 0 ||
        ::dup2(nowhere, STDERR_FILENO) < 0 ||
        (pipe != FIRST_INHERITED && ::dup2(pipe, FIRST_INHERITED) < 0) ||
        ::fcntl(FIRST_INHERITED, F_SETFD, FD_CLOEXEC) != 0 ||
        ::close_range(FIRST_INHERITED + 1, ~0U, 0) != 0) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot let go of the standard streams");
    }
}

int beDaemon(int pipe, const std::function<int(const Ready& ready)>& daemon) noexcept {
    int told = pipe;
    try {
        ::setsid();
        letGoOfEverything(pipe);
        told = FIRST_INHERITED;
        return daemon([&told](const blocxx::StringArray& warnings) {
            String report(READY);
            for (const String& warning : warnings) {
                report += blocxx::printable(blocxx::oneLine(warning)) + "\n";
            }
            // Whoever waits for the daemon would wait until it ends.
            if (!blocxx::writeAll(told, report)) {
                BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot tell that the daemon is ready");
            }
            ::close(told);
            told = -1;
        });
    } catch (const blocxx::Exception& e) {
        tell(told, e.getMessage());
    } catch (const std::exception& e) {
        tell(told, e.what());
    } catch (...) {
        tell(told, "unknown error");
    }
    return 1;
}

int waitForDaemon(pid_t child, blocxx::File pipe) {
    const String told = blocxx::FileSystem::readToEnd(pipe, "the pipe from the daemon");
    if (told.starts_with(READY)) {
        for (const String& warning : blocxx::tokenize(told.substr(READY.size()), "\n")) {
            std::cerr << "owcimomd: warning: " << warning << "\n";
        }
        return 0;
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    const String reason =
        told.empty()
            ? blocxx::Process::Status::fromWaitStatus(status).toString() + " before it was ready"
            : told;
    std::cerr << "owcimomd: error: " << blocxx::printable(blocxx::oneLine(reason)) << "\n";
    return 1;
}

}  // namespace

void closeInheritedDescriptors() {
    ::close_range(FIRST_INHERITED, ~0U, 0);
}

int runInBackground(const std::function<int(const Ready& ready)>& daemon) {
    closeInheritedDescriptors();
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot make a pipe");
    }
    const pid_t child = ::fork();
    if (child < 0) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot start the daemon's process");
    }
    if (child == 0) {
        ::close(ends[0]);
        const int status = beDaemon(ends[1], daemon);
        ::_exit(status);
    }
    ::close(ends[1]);
    return waitForDaemon(child, blocxx::File(ends[0]));
}

}  // namespace OwCimomd
