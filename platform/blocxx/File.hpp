// SPDX-License-Identifier: Apache-2.0
//
// A file descriptor with an owner. Operations report failure through their result and errno. Copies
// share one descriptor, which is closed by close() or with the last copy.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string_view>

#include "blocxx/String.hpp"

namespace blocxx {

class File {
public:
    enum ELockType { E_READ_LOCK, E_WRITE_LOCK };
    enum EWaitFlag { E_DONT_WAIT, E_WAIT };

    /// A closed file.
    File() = default;
    /// Takes ownership of an open descriptor. A negative one makes a closed file.
    explicit File(int fd);

    /// Whether the file is open.
    explicit operator bool() const noexcept;
    /// -1 when the file is closed.
    int getFileDescriptor() const noexcept;

    /// Writes at the current offset in one call (restarted only when a signal interrupted it).
    /// Returns the count written, or -1 with errno set.
    ssize_t write(const void* data, size_t length);
    /// Reads at the current offset: the count, 0 at the end, -1 with errno set.
    ssize_t read(void* data, size_t length);
    /// Makes everything written durable (fsync(2)). 0, or -1 with errno set.
    int flush();
    /// 0, or -1 with errno set. The file is closed either way.
    int close();

    /// Takes a POSIX record lock on the whole file. It is lost when this process closes any
    /// descriptor of the file. 0, or -1 with errno set.
    int getLock(ELockType type, EWaitFlag wait = E_WAIT);
    /// Takes a lock of the open file description on the whole file, which lasts until this file is
    /// closed. It conflicts with record locks. 0, or -1 with errno set.
    int getOwnLock(ELockType type, EWaitFlag wait = E_WAIT);

private:
    class Descriptor;
    std::shared_ptr<Descriptor> m_descriptor;
};

/// Writes all of the text, in as many calls as necessary. False with errno set on failure.
[[nodiscard]] bool writeAll(int fd, std::string_view text) noexcept;

}  // namespace blocxx
