// SPDX-License-Identifier: Apache-2.0
//
// An open file. Operations report failure through their result and errno, as the callers' messages
// are built from errno. Copies share the one descriptor; it is closed by close() or with the last
// copy. Descriptors are opened close-on-exec.
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
    /// Takes over an open descriptor.
    explicit File(int fd);

    explicit operator bool() const noexcept;
    int getFileDescriptor() const noexcept;

    /// Writes at the current offset in one call (restarted only when a signal interrupted it).
    /// Returns the count written, or -1 with errno set.
    ssize_t write(const void* data, size_t length);
    /// Reads at the current offset: the count, 0 at the end, -1 with errno set.
    ssize_t read(void* data, size_t length);
    /// Puts what was written on the disk. 0, or -1 with errno set.
    int flush();
    /// 0, or -1 with errno set. The file counts as closed either way.
    int close();

    /// A POSIX record lock on the whole file: it goes when any descriptor of the file is closed in
    /// this process. 0, or -1 with errno set.
    int getLock(ELockType type, EWaitFlag wait = E_WAIT);
    /// The same as a lock of the open file description: it goes with the last copy of this file,
    /// whatever else is opened and closed. It keeps record locks out, and they keep it out.
    int getOwnLock(ELockType type, EWaitFlag wait = E_WAIT);

private:
    class Descriptor;
    std::shared_ptr<Descriptor> m_descriptor;
};

/// Writes all of the text, in as many calls as it takes. False with errno set when it cannot.
[[nodiscard]] bool writeAll(int fd, std::string_view text) noexcept;

}  // namespace blocxx
