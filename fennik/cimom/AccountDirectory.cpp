// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/AccountDirectory.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"

namespace KOVNS2::AccountDirectory {

using blocxx::File;
using blocxx::Format;
namespace FileSystem = blocxx::FileSystem;

namespace {

constexpr int DIRECTORY = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

[[noreturn]] void fail(const char* attempt, const String& path) {
    BLOCXX_THROW_ERRNO(blocxx::FileSystemException, Format(attempt, path).toString());
}

File opened(int fd, const String& path) {
    File directory(fd);
    if (!directory) {
        fail("Cannot open the directory \"%1\"", path);
    }
    return directory;
}

struct CloseListing {
    void operator()(DIR* listing) const noexcept { ::closedir(listing); }
};

bool isRegularFile(int directory, const String& name) {
    struct stat status {};
    return ::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode);
}

}  // namespace

File openParentOf(const String& path) {
    const String parent = FileSystem::Path::dirname(path);
    return opened(::open(FileSystem::systemPath(parent), DIRECTORY), parent);
}

File openIn(const File& parent, const String& path) {
    const String name = FileSystem::Path::basename(path);
    return opened(
        ::openat(parent.getFileDescriptor(), FileSystem::systemPath(name), DIRECTORY | O_NOFOLLOW),
        path);
}

File open(const String& path) {
    return openIn(openParentOf(path), path);
}

blocxx::StringArray fileNames(const File& directory) {
    const int fd = directory.getFileDescriptor();
    // A new descriptor, so that each listing starts at the first entry.
    const int own = ::openat(fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, CloseListing> listing(own < 0 ? nullptr : ::fdopendir(own));
    if (!listing) {
        BLOCXX_THROW_ERRNO(blocxx::FileSystemException, "Cannot list the repository directory");
    }
    blocxx::StringArray names;
    errno = 0;
    while (const dirent* entry = ::readdir(listing.get())) {
        struct stat status {};
        if (::fstatat(fd, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISDIR(status.st_mode)) {
            names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        BLOCXX_THROW_ERRNO(blocxx::FileSystemException, "Cannot list the repository directory");
    }
    return names;
}

void sync(const String& path) {
    const File directory = open(path);
    const int fd = directory.getFileDescriptor();
    for (const String& name : fileNames(directory)) {
        if (!isRegularFile(fd, name)) {
            continue;
        }
        File file(::openat(fd, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (!file || file.flush() != 0) {
            fail("Cannot put \"%1\" on the disk", path + "/" + name);
        }
    }
    if (::fsync(fd) != 0) {
        fail("Cannot put \"%1\" on the disk", path);
    }
}

}  // namespace KOVNS2::AccountDirectory
