// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/PidFile.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"

namespace OwCimomd {

using blocxx::Format;
namespace FileSystem = blocxx::FileSystem;

namespace {

[[noreturn]] void fail(const char* attempt, const String& path) {
    BLOCXX_THROW(blocxx::Exception, Format("the pid file \"%1\" cannot be %2: %3", path, attempt,
                                           std::strerror(errno)));
}

}  // namespace

PidFile::PidFile(String path) : m_path(std::move(path)) {
    // A daemon that ends removes its file; one that was opened before that is no longer the one.
    do {
        lock();
    } while (!isStillAtItsPath());
    const String text = std::to_string(getpid()) + "\n";
    const int fd = m_file.getFileDescriptor();
    // The init script reads it as whoever runs it.
    constexpr mode_t READABLE = 0644;
    if (ftruncate(fd, 0) != 0 || fchmod(fd, READABLE) != 0 ||
        m_file.write(text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        fail("written", m_path);
    }
}

PidFile::~PidFile() {
    unlink(m_path.c_str());
}

void PidFile::lock() {
    m_file = FileSystem::openOrCreateFile(m_path);
    if (!m_file) {
        fail("opened", m_path);
    }
    if (m_file.getLock(blocxx::File::E_WRITE_LOCK, blocxx::File::E_DONT_WAIT) == 0) {
        return;
    }
    if (errno != EACCES && errno != EAGAIN) {
        fail("locked", m_path);
    }
    String pid = FileSystem::readToEnd(m_file, m_path);
    pid.erase(pid.find_last_not_of(" \n") + 1);
    BLOCXX_THROW(blocxx::Exception,
                 Format("owcimomd runs already, as process %1 (it holds \"%2\")", pid, m_path));
}

bool PidFile::isStillAtItsPath() const {
    struct stat ours {};
    struct stat there {};
    return fstat(m_file.getFileDescriptor(), &ours) == 0 && lstat(m_path.c_str(), &there) == 0 &&
           ours.st_dev == there.st_dev && ours.st_ino == there.st_ino;
}

}  // namespace OwCimomd
