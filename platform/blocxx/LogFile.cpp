// SPDX-License-Identifier: Apache-2.0
//
// The log file: a regular file, or a terminal, pipe or device, of which no size and no place is
// known.
#include "blocxx/LogFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"

namespace blocxx {

bool writeAll(int fd, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

LogFile::LogFile(String name, size_t limit, unsigned backups, FileAppender::EOpening opening)
    : m_name(std::move(name)), m_limit(limit), m_backups(backups), m_opening(opening) {
    open();
}

void LogFile::open() {
    constexpr mode_t mode = 0666;
    const int guards = m_opening == FileAppender::E_GUARDED ? O_NOFOLLOW | O_NONBLOCK : 0;
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | guards;
    m_file = File(::open(FileSystem::systemPath(m_name), flags, mode));
    const int fd = m_file.getFileDescriptor();
    struct stat info = {};
    if (fd < 0 || ::fstat(fd, &info) != 0 || ::fcntl(fd, F_SETFL, O_APPEND) != 0) {
        BLOCXX_THROW_ERRNO(LoggerException,
                           Format("Cannot open the log file \"%1\"", m_name).toString());
    }
    m_size = static_cast<size_t>(info.st_size);
    if (!S_ISREG(info.st_mode)) {
        m_limit = 0;
    }
}

void LogFile::append(std::string_view text) {
    if (m_limit != 0 && m_size != 0 && m_size + text.size() > m_limit) {
        startAfresh();
    }
    if (!writeAll(m_file.getFileDescriptor(), text)) {
        BLOCXX_THROW_ERRNO(LoggerException,
                           Format("Cannot write to the log file \"%1\"", m_name).toString());
    }
    m_size += text.size();
}

void LogFile::startAfresh() {
    const auto numbered = [&](unsigned i) {
        return i == 0 ? m_name : m_name + "." + std::to_string(i);
    };
    bool done = m_backups != 0 || ::ftruncate(m_file.getFileDescriptor(), 0) == 0;
    for (unsigned i = m_backups; done && i > 0; --i) {
        done = FileSystem::renameFile(numbered(i - 1), numbered(i)) || errno == ENOENT;
    }
    if (!done) {
        BLOCXX_THROW_ERRNO(LoggerException,
                           Format("Cannot put the log file \"%1\" away", m_name).toString());
    }
    open();
}

}  // namespace blocxx
