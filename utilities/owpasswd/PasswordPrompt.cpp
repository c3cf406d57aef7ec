// SPDX-License-Identifier: Apache-2.0
#include "utilities/owpasswd/PasswordPrompt.hpp"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cstring>
#include <iostream>

#include "blocxx/Exception.hpp"
#include "blocxx/File.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/Printable.hpp"
#include "credentials/Hash.hpp"

namespace OwPasswd {

using blocxx::Format;

namespace {

/// A password, overwritten at the end of the scope.
class Secret {
public:
    // Never grows, so no copy of a part of it stays behind.
    Secret() { m_text.reserve(Credentials::MAX_PASSWORD_SIZE + 1); }
    ~Secret() { Credentials::wipe(m_text); }
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;

    bool isFull() const noexcept { return m_text.size() > Credentials::MAX_PASSWORD_SIZE; }
    void add(char c) { m_text.push_back(c); }
    const String& text() const noexcept { return m_text; }

private:
    String m_text;
};

/// A terminal that shows nothing of what is typed, for a scope. What was not read is dropped in the
/// end: a shell would run it.
class NoEcho {
public:
    explicit NoEcho(int fd) : m_fd(fd) {
        if (::tcgetattr(m_fd, &m_before) != 0) {
            fail();
        }
        struct termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
        silent.c_lflag |= ICANON | ISIG;
        // A program that is stopped, or ended by SIGQUIT, would leave the terminal without echo.
        silent.c_cc[VSUSP] = _POSIX_VDISABLE;
        silent.c_cc[VQUIT] = _POSIX_VDISABLE;
        if (::tcsetattr(m_fd, TCSAFLUSH, &silent) != 0) {
            fail();
        }
    }
    ~NoEcho() {
        ::tcsetattr(m_fd, TCSAFLUSH, &m_before);
        // The line end was not shown either.
        std::cerr << "\n";
    }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;

private:
    [[noreturn]] static void fail() {
        BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot turn the terminal's echo off");
    }

    int m_fd;
    struct termios m_before {};
};

/// Reads byte by byte up to the end of the line, so that what follows stays for the next program.
void readLine(Secret& secret) {
    blocxx::File input(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    char next = 0;
    ssize_t count = 1;
    while (!secret.isFull()) {
        blocxx::Interruption::wait(input.getFileDescriptor(), POLLIN);
        count = input.read(&next, 1);
        if (count < 0) {
            BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot read a password from standard input");
        }
        if (count == 0 || next == '\n') {
            break;
        }
        secret.add(next);
    }
    ::explicit_bzero(&next, sizeof next);
    if (count == 0 && secret.text().empty()) {
        BLOCXX_THROW(blocxx::Exception, "no password was given");
    }
}

void ask(const String& prompt, Secret& secret) {
    const NoEcho silent(STDIN_FILENO);
    std::cerr << prompt << std::flush;
    readLine(secret);
}

}  // namespace

String askForPassword(const String& user) {
    const bool isTerminal = ::isatty(STDIN_FILENO) == 1;
    String hash;
    {
        Secret first;
        isTerminal ? ask(Format("New password for %1: ", blocxx::printable(user)), first)
                   : readLine(first);
        hash = Credentials::hashPassword(first.text());
    }
    if (isTerminal) {
        Secret again;
        ask("The same again: ", again);
        if (!Credentials::matches(&hash, again.text())) {
            BLOCXX_THROW(blocxx::Exception, "the passwords differ; nothing has changed");
        }
    }
    return hash;
}

}  // namespace OwPasswd
