// SPDX-License-Identifier: Apache-2.0
//
// Part of MOFCompiler.hpp: files that a MOF text includes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace OpenWBEM::MOF {

namespace {

// How much more is read at a time of a file that tells no size.
constexpr size_t SMALLEST_GROWTH = 16384;
constexpr off_t LARGEST_FILE = SourceText::MAX_SIZE;

[[noreturn]] void failReading(const String& path) {
    BLOCXX_THROW_ERRNO(blocxx::FileSystemException, "Cannot read \"" + path + "\"");
}

[[noreturn]] void refuse(const String& path, const char* why) {
    BLOCXX_THROW(blocxx::FileSystemException, "Cannot read \"" + path + "\": " + why);
}

size_t readSome(const blocxx::File& file, const String& path, char* buffer, size_t size) {
    ssize_t count = 0;
    do {
        count = ::read(file.getFileDescriptor(), buffer, size);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        failReading(path);
    }
    return static_cast<size_t>(count);
}

/// Reads the whole file, of which `announced` bytes are expected: files may grow, and those of
/// /proc announce nothing.
String readText(const blocxx::File& file, const String& path, size_t announced) {
    // Room for the two bytes that the scanner wants behind the text, so that it stays where it is.
    String text;
    text.reserve(announced + 2);
    // One byte more than announced shows that there is no more.
    text.resize(announced + 1);
    size_t done = 0;
    for (;;) {
        const size_t count = readSome(file, path, text.data() + done, text.size() - done);
        done += count;
        if (count == 0 || (done == announced && announced != 0)) {
            break;
        }
        if (done > announced + blocxx::FileSystem::MAX_CONTENT_SIZE) {
            refuse(path, "it is larger than it says and does not end");
        }
        if (done == text.size()) {
            text.resize(std::max(2 * done, SMALLEST_GROWTH));
        }
    }
    text.resize(done);
    return text;
}

/// A schema has well over a thousand files; each is opened, measured and read once.
Source readFile(const String& path) {
    // O_NONBLOCK: opening a FIFO must not wait for its writer.
    const blocxx::File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.getFileDescriptor(), &status) != 0) {
        failReading(path);
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(path, "it is not a regular file");
    }
    if (status.st_size > LARGEST_FILE) {
        refuse(path, "it is too large");
    }
    return {path,
            readText(file, path, static_cast<size_t>(status.st_size)),
            {status.st_dev, status.st_ino}};
}

}  // namespace

Source includeFile(const String& name, const String& includingSource) {
    String path = name;
    if (!name.empty() && name[0] != '/' && includingSource.find('/') != String::npos) {
        path = includingSource.substr(0, includingSource.rfind('/') + 1) + name;
    }
    return readFile(path);
}

}  // namespace OpenWBEM::MOF
