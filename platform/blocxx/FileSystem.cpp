// SPDX-License-Identifier: Apache-2.0
//
// File system calls by path. The tool runs as root in directories that others may write in, so
// files are created without following a link at the end of the path, and owners and modes are
// changed on the named object itself.
#include "blocxx/FileSystem.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/Printable.hpp"

namespace blocxx::FileSystem {

namespace {

constexpr mode_t NEW_FILE_MODE = 0666;

File open(const String& path, int flags) {
    int fd = -1;
    do {
        fd = ::open(systemPath(path), flags | O_CLOEXEC | O_NOCTTY, NEW_FILE_MODE);
    } while (fd < 0 && errno == EINTR);
    return File(fd);
}

}  // namespace

const char* systemPath(const String& path) {
    if (path.find('\0') != String::npos) {
        BLOCXX_THROW_ERR(FileSystemException,
                         Format("The path \"%1\" has a NUL character in it", printable(path)),
                         EINVAL);
    }
    return path.c_str();
}

File createFile(const String& path) {
    return open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW);
}

File openOrCreateFile(const String& path) {
    return open(path, O_RDWR | O_CREAT | O_NOFOLLOW);
}

bool exists(const String& path) {
    return ::faccessat(AT_FDCWD, systemPath(path), F_OK, AT_EACCESS) == 0;
}

bool isDirectory(const String& path) {
    struct stat info = {};
    return ::stat(systemPath(path), &info) == 0 && S_ISDIR(info.st_mode);
}

bool canExecute(const String& path) {
    struct stat info = {};
    return ::stat(systemPath(path), &info) == 0 && S_ISREG(info.st_mode) &&
           ::faccessat(AT_FDCWD, systemPath(path), X_OK, AT_EACCESS) == 0;
}

bool removeFile(const String& path) {
    return ::unlink(systemPath(path)) == 0;
}

bool renameFile(const String& from, const String& to) {
    return ::rename(systemPath(from), systemPath(to)) == 0;
}

bool makeDirectory(const String& path, mode_t mode) {
    return ::mkdir(systemPath(path), mode) == 0;
}

bool changeFileOwner(const String& path, uid_t uid, gid_t gid) {
    return ::lchown(systemPath(path), uid, gid) == 0;
}

bool changeFileMode(const String& path, mode_t mode) {
    if (::fchmodat(AT_FDCWD, systemPath(path), mode, AT_SYMLINK_NOFOLLOW) == 0) {
        return true;
    }
    if (errno != EOPNOTSUPP) {
        return false;
    }
    // AT_SYMLINK_NOFOLLOW needs /proc, which a staging root may lack. A link is still refused.
    const File file = open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    return file && ::fchmod(file.getFileDescriptor(), mode) == 0;
}

bool syncDirectory(const String& path) {
    File directory = open(path, O_RDONLY | O_DIRECTORY);
    return directory && directory.flush() == 0;
}

void syncName(const String& path) {
    syncEntries(Path::dirname(path));
}

void syncEntries(const String& directory) {
    if (!syncDirectory(directory)) {
        BLOCXX_THROW_ERRNO(
            FileSystemException,
            Format("Cannot put the directory \"%1\" on the disk", directory).toString());
    }
}

namespace {

WriteStep write(File& file, std::string_view content) {
    const ssize_t written = file.write(content.data(), content.size());
    if (written < 0) {
        return WriteStep::WRITE;
    }
    const std::string_view rest = content.substr(static_cast<size_t>(written));
    if (rest.empty()) {
        return WriteStep::DONE;
    }
    // A short count sets no errno. Writing one more byte gets the reason.
    errno = ENOSPC;
    file.write(rest.data(), 1);
    return WriteStep::WRITE_REST;
}

}  // namespace

WriteStep writeDurably(File& file, std::string_view content) {
    const WriteStep step = write(file, content);
    if (step != WriteStep::DONE) {
        return step;
    }
    if (file.flush() != 0) {
        return WriteStep::SYNC;
    }
    return file.close() != 0 ? WriteStep::CLOSE : WriteStep::DONE;
}

WriteStep createNew(const String& path, std::string_view content) {
    File file = createFile(path);
    return file ? writeDurably(file, content) : WriteStep::CREATE;
}

bool readAll(File& file, String& contents, size_t limit) {
    // How much to read at once of a file that does not tell its length, such as those of /proc.
    constexpr size_t PORTION = 65536;
    const int fd = file.getFileDescriptor();
    struct stat info = {};
    const bool isRegular = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    const size_t announced = isRegular ? static_cast<size_t>(info.st_size) : 0;
    const size_t end = contents.size() + announced;
    // Room for one byte more than announced shows whether the file has grown.
    size_t room = announced != 0 ? announced + 1 : PORTION;
    const auto isTooLong = [limit](size_t size) {
        errno = size > limit ? EFBIG : errno;
        return size > limit;
    };
    if (isTooLong(end)) {
        return false;
    }
    ssize_t count = 1;
    while (count > 0 && contents.size() <= limit) {
        isRegular ? Interruption::check() : Interruption::wait(fd, POLLIN);
        const size_t done = contents.size();
        contents.resize(done + room);
        count = file.read(contents.data() + done, room);
        contents.resize(done + static_cast<size_t>(std::max<ssize_t>(count, 0)));
        if (contents.size() == end) {
            break;
        }
        room = PORTION;
    }
    return count >= 0 && !isTooLong(contents.size());
}

namespace {

[[noreturn]] void refuseLength(const String& nameForMessages, size_t limit) {
    BLOCXX_THROW_ERR(
        FileSystemException,
        Format("Cannot read \"%1\": it is longer than %2 MiB", nameForMessages, limit >> 20),
        EFBIG);
}

void appendToEnd(String& contents, File& file, const String& nameForMessages, size_t limit) {
    if (readAll(file, contents, limit)) {
        return;
    }
    if (errno == EFBIG) {
        refuseLength(nameForMessages, limit);
    }
    BLOCXX_THROW_ERRNO(FileSystemException, Format("Cannot read \"%1\"", nameForMessages));
}

/// S_IFREG and so on; 0 when fstat fails.
mode_t typeOf(const File& file) {
    struct stat info = {};
    return ::fstat(file.getFileDescriptor(), &info) == 0 ? info.st_mode & S_IFMT : 0;
}

// Reads without waiting: an end of file then means that nobody has the FIFO open for writing. If
// there is a writer that has not written yet, the read fails with EAGAIN.
void readFirstByteOfFifo(String& contents, File& file, const String& path) {
    char first = 0;
    const ssize_t count = file.read(&first, 1);
    if (count == 0) {
        BLOCXX_THROW_ERR(FileSystemException,
                         Format("Cannot read \"%1\": nobody writes to this FIFO", path), EPIPE);
    }
    if (count > 0) {
        contents += first;
    }
}

// Opens without waiting. The wait for a FIFO's writer is in readAll(), where a signal can end it.
File openForReading(const String& path, NamedBy namedBy) {
    const int links = namedBy == NamedBy::US ? O_NOFOLLOW : 0;
    File file = open(path, O_RDONLY | O_NONBLOCK | links);
    if (!file && errno == ELOOP && namedBy == NamedBy::US) {
        BLOCXX_THROW_ERR(FileSystemException,
                         Format("Cannot read \"%1\": it is a symbolic link, which is not followed "
                                "here; put the file itself in its place",
                                path),
                         ELOOP);
    }
    if (!file) {
        BLOCXX_THROW_ERRNO(FileSystemException, Format("Cannot open \"%1\"", path).toString());
    }
    return file;
}

void requireRegularFile(const File& file, const String& path) {
    if (typeOf(file) != S_IFREG) {
        BLOCXX_THROW_ERR(FileSystemException,
                         Format("Cannot read \"%1\": it is not a regular file", path), EINVAL);
    }
}

}  // namespace

String getFileContents(const String& path, NamedBy namedBy, size_t limit) {
    File file = openForReading(path, namedBy);
    String contents;
    if (namedBy == NamedBy::OTHERS && typeOf(file) == S_IFIFO) {
        readFirstByteOfFifo(contents, file, path);
    } else if (namedBy == NamedBy::US) {
        requireRegularFile(file, path);
    }
    ::fcntl(file.getFileDescriptor(), F_SETFL, O_RDONLY);
    appendToEnd(contents, file, path, limit);
    return contents;
}

String readToEnd(File& file, const String& nameForMessages, size_t limit) {
    String contents;
    appendToEnd(contents, file, nameForMessages, limit);
    return contents;
}

// Duplicates the descriptor, because File closes the one that it is given.
String readStandardInput(size_t limit) {
    File input(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!input) {
        BLOCXX_THROW_ERRNO(FileSystemException, "Unable to read standard input");
    }
    return readToEnd(input, "standard input", limit);
}

namespace {

// The path without trailing slashes; the root directory stays "/".
std::string_view stripped(const String& path) {
    const size_t last = path.find_last_not_of('/');
    const size_t length = last == String::npos ? std::min<size_t>(path.size(), 1) : last + 1;
    return std::string_view(path).substr(0, length);
}

}  // namespace

String Path::basename(const String& path) {
    const std::string_view whole = stripped(path);
    return String(whole == "/" ? whole : whole.substr(whole.rfind('/') + 1));
}

String Path::dirname(const String& path) {
    const std::string_view whole = stripped(path);
    const size_t slash = whole.rfind('/');
    return slash == whole.npos ? "." : String(stripped(String(whole.substr(0, slash + 1))));
}

}  // namespace blocxx::FileSystem
