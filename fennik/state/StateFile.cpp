// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateFile.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <streambuf>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/FileUtils.hpp"
#include "fennik/state/StateFormat.hpp"
#include "openwbem/xml/XMLLimits.hpp"

namespace KOVNS2::StateFile {

using blocxx::File;
using blocxx::Format;
using blocxx::String;
using OpenWBEM::XMLNode;
namespace FileSystem = blocxx::FileSystem;

namespace {

/// Throws with the reason in errno.
[[noreturn]] void failCreating(const String& fileName, CallSite place = CallSite::here()) {
    FileUtils::throwFileFailure("Failed to create state file: \"%1\"", fileName,
                                ErrorCode::STATE_FILE_NOT_WRITTEN, place);
}

bool isFifo(const String& path) {
    struct stat info = {};
    return ::stat(path.c_str(), &info) == 0 && S_ISFIFO(info.st_mode);
}

/// Follows links, because the caller named the file. Waits for a FIFO's reader with poll() instead
/// of open(), so that a signal ends the wait: the daemon is stopped meanwhile.
File openTruncated(const String& fileName) {
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    constexpr mode_t MODE = 0666;
    constexpr int ASK_INTERVAL = 100;  // milliseconds
    while (true) {
        File file(::open(fileName.c_str(), FLAGS, MODE));
        if (file || errno != ENXIO || !isFifo(fileName)) {
            return file;
        }
        pollfd interruption{blocxx::Interruption::descriptor(), POLLIN, 0};
        ::poll(&interruption, 1, ASK_INTERVAL);
        blocxx::Interruption::check();
    }
}

/// Removes `path` if it still is `file`. Keeps another file, and a link to `file`, which is the
/// caller's.
void removeIfStillAt(const String& path, const struct stat& file) {
    struct stat found = {};
    if (::lstat(path.c_str(), &found) == 0 && found.st_dev == file.st_dev &&
        found.st_ino == file.st_ino) {
        FileSystem::removeFile(path);
    }
}

/// Writes to a file piece by piece, so that a large state is not in memory twice. After a failure
/// the stream is bad and errno is set.
class FileBuffer : public std::streambuf {
public:
    explicit FileBuffer(File& file) : m_file(file) { empty(); }

protected:
    int_type overflow(int_type next) override {
        if (!writeOut()) {
            return traits_type::eof();
        }
        if (!traits_type::eq_int_type(next, traits_type::eof())) {
            sputc(traits_type::to_char_type(next));
        }
        return traits_type::not_eof(next);
    }
    int sync() override { return writeOut() ? 0 : -1; }

private:
    void empty() { setp(m_piece.data(), m_piece.data() + m_piece.size()); }

    bool writeOut() {
        for (const char* at = pbase(); at != pptr();) {
            const ssize_t written = m_file.write(at, static_cast<size_t>(pptr() - at));
            if (written < 0 && errno == EAGAIN) {
                blocxx::Interruption::wait(m_file.getFileDescriptor(), POLLOUT);
            } else if (written < 0) {
                return false;
            }
            at += std::max<ssize_t>(written, 0);
        }
        empty();
        return true;
    }

    File& m_file;
    std::array<char, size_t{64} * 1024> m_piece;
};

/// False, with errno set, on failure.
bool writeDocument(File& file, const XMLNode& root) {
    FileBuffer buffer(file);
    std::ostream out(&buffer);
    if (out << StateFormat::HEADER << std::flush) {
        root.printNode(out);
    }
    return static_cast<bool>(out.flush());
}

void checkReadable(const XMLNode& root) {
    try {
        root.checkReadable(std::strlen(StateFormat::HEADER));
    } catch (const OpenWBEM::XMLNodeException& e) {
        throw FennikException(
            Format("The state cannot be saved: %1; deregister what is not needed any more, or "
                   "delete instances of it",
                   e.getMessage()),
            ErrorCode::STATE_FILE_NOT_WRITTEN, &e);
    }
}

/// Puts the file and its name on the disk. Succeeds for what has no place there, such as a FIFO or
/// a file without a name. False, with errno set, on failure.
bool flush(File& file, const String& fileName) {
    if (file.flush() != 0) {
        return errno == EINVAL || errno == EROFS;
    }
    std::error_code noName;
    const auto path = std::filesystem::canonical(fileName.c_str(), noName);
    return noName || FileSystem::syncDirectory(path.parent_path().c_str()) || errno == EINVAL;
}

}  // namespace

// Checks that the document can be written and read again before touching the file, so that only I/O
// can fail after that.
void write(const XMLNode& root, const String& fileName) {
    checkReadable(root);
    const bool isNew = !FileSystem::exists(fileName);
    File file = openTruncated(fileName);
    struct stat opened = {};
    if (!file || ::fstat(file.getFileDescriptor(), &opened) != 0) {
        failCreating(fileName);
    }
    if (!writeDocument(file, root) || !flush(file, fileName) || file.close() != 0) {
        const int errnum = errno;
        if (isNew) {
            removeIfStillAt(fileName, opened);
        }
        errno = errnum;
        failCreating(fileName);
    }
}

String read(const String& fileName) {
    try {
        return FileSystem::getFileContents(fileName, FileSystem::NamedBy::CALLER,
                                           OpenWBEM::XMLLimits::MAX_DOCUMENT_SIZE);
    } catch (const blocxx::FileSystemException& e) {
        throw FennikException(Format("Failed to open state file: \"%1\"", fileName),
                              ErrorCode::STATE_FILE_NOT_OPENED, &e);
    }
}

}  // namespace KOVNS2::StateFile
