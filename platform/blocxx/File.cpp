// SPDX-License-Identifier: Apache-2.0
//
// Callers read errno after a failed call, so closing in a destructor keeps it.
#include "blocxx/File.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace blocxx {

/// Owns a descriptor.
class File::Descriptor {
public:
    explicit Descriptor(int fd) noexcept : m_fd(fd) {}
    ~Descriptor() {
        const int saved = errno;
        close();
        errno = saved;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const noexcept { return m_fd; }
    // Linux releases the descriptor even when close fails, so a second close could hit another
    // file.
    int close() noexcept { return m_fd < 0 ? 0 : ::close(std::exchange(m_fd, -1)); }

private:
    int m_fd;
};

namespace {

template <class Call>
auto restarted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

}  // namespace

File::File(int fd) {
    if (fd >= 0) {
        m_descriptor = std::make_shared<Descriptor>(fd);
    }
}

File::operator bool() const noexcept {
    return getFileDescriptor() >= 0;
}

int File::getFileDescriptor() const noexcept {
    return m_descriptor ? m_descriptor->get() : -1;
}

ssize_t File::write(const void* data, size_t length) {
    return restarted([&] { return ::write(getFileDescriptor(), data, length); });
}

ssize_t File::read(void* data, size_t length) {
    return restarted([&] { return ::read(getFileDescriptor(), data, length); });
}

int File::flush() {
    return restarted([&] { return ::fsync(getFileDescriptor()); });
}

int File::close() {
    if (!*this) {
        errno = EBADF;
        return -1;
    }
    return m_descriptor->close();
}

bool writeAll(int fd, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t count = restarted([&] { return ::write(fd, text.data(), text.size()); });
        if (count <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

namespace {

int setLock(int fd, int command, File::ELockType type) {
    struct flock lock = {};  // start 0 and length 0: the whole file, however it grows
    lock.l_type = type == File::E_READ_LOCK ? F_RDLCK : F_WRLCK;
    lock.l_whence = SEEK_SET;
    return restarted([&] { return ::fcntl(fd, command, &lock); });
}

}  // namespace

int File::getLock(ELockType type, EWaitFlag wait) {
    return setLock(getFileDescriptor(), wait == E_WAIT ? F_SETLKW : F_SETLK, type);
}

int File::getOwnLock(ELockType type, EWaitFlag wait) {
    return setLock(getFileDescriptor(), wait == E_WAIT ? F_OFD_SETLKW : F_OFD_SETLK, type);
}

}  // namespace blocxx
