// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/StandardStreams.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "blocxx/Exception.hpp"
#include "blocxx/File.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/Printable.hpp"

namespace KOVNS2::StandardStreams {

namespace {

/// Whether the caller ignored SIGPIPE.
bool g_pipeSignalIsIgnored = false;

}  // namespace

void prepare() {
    g_pipeSignalIsIgnored = std::signal(SIGPIPE, SIG_IGN) == SIG_IGN;
    // A write past the file size limit then fails like one to a full disk, and the run is undone.
    std::signal(SIGXFSZ, SIG_IGN);
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) == -1 && errno == EBADF) {
            // Gets the number fd, the lowest free one. The wrong access mode makes every use fail.
            ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void writeOut(std::string_view text) {
    blocxx::Interruption::check();
    if (blocxx::writeAll(STDOUT_FILENO, text)) {
        return;
    }
    if (errno == EPIPE && !g_pipeSignalIsIgnored) {
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    BLOCXX_THROW_ERRNO(blocxx::IOException, "Unable to write to standard output");
}

namespace {

/// Escapes unprintable characters when standard output is a terminal.
blocxx::String forOutput(std::string_view text) {
    return ::isatty(STDOUT_FILENO) == 1 ? blocxx::printable(text) : blocxx::String(text);
}

}  // namespace

void writeLine(const blocxx::String& line) {
    writeOut(forOutput(line + "\n"));
}

void writeProgress(std::string_view text) noexcept {
    try {
        blocxx::Interruption::wait(STDOUT_FILENO, POLLOUT);
        static_cast<void>(blocxx::writeAll(STDOUT_FILENO, forOutput(text)));
    } catch (const std::exception&) {
        return;  // after an interruption the next step fails
    }
}

void writeError(std::string_view text) noexcept {
    try {
        static_cast<void>(blocxx::writeAll(STDERR_FILENO, blocxx::printable(text)));
    } catch (const std::exception&) {
        return;  // out of memory
    }
}

}  // namespace KOVNS2::StandardStreams
