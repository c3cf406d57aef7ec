// SPDX-License-Identifier: Apache-2.0
#include "fennik/undo/StandardStreams.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "blocxx/Exception.hpp"
#include "blocxx/Interruption.hpp"

namespace KOVNS2::StandardStreams {

namespace {

/// Whether the caller wants to hear of a broken pipe by the error alone.
bool g_pipeSignalIsIgnored = false;

/// Writes everything; false with errno set when that fails.
bool writeAll(int fd, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            text.remove_prefix(static_cast<size_t>(written));
        }
    }
    return true;
}

}  // namespace

void prepare() {
    g_pipeSignalIsIgnored = std::signal(SIGPIPE, SIG_IGN) == SIG_IGN;
    // Past a limit on file sizes a write fails, and the run is undone, as for a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) == -1 && errno == EBADF) {
            // The lowest free number is fd. Using it fails as it would have failed without us.
            ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void writeOut(std::string_view text) {
    blocxx::Interruption::check();
    if (writeAll(STDOUT_FILENO, text)) {
        return;
    }
    if (errno == EPIPE && !g_pipeSignalIsIgnored) {
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    BLOCXX_THROW_ERRNO(blocxx::IOException, "Unable to write to standard output");
}

void writeProgress(std::string_view text) noexcept {
    try {
        blocxx::Interruption::wait(STDOUT_FILENO, POLLOUT);
    } catch (const std::exception&) {
        return;  // the next step fails
    }
    writeAll(STDOUT_FILENO, text);
}

void writeError(std::string_view text) noexcept {
    writeAll(STDERR_FILENO, text);
}

}  // namespace KOVNS2::StandardStreams
