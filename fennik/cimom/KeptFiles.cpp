// SPDX-License-Identifier: Apache-2.0
//
// The directories belong to the daemon's account, which may rename what is in them at any time:
// everything is done relative to directories that are open.
#include "fennik/cimom/KeptFiles.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "fennik/undo/UndoMessages.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::StringArray;
namespace FileSystem = blocxx::FileSystem;

namespace {

[[noreturn]] void fail(const char* attempt, const String& path) {
    BLOCXX_THROW_ERRNO(blocxx::FileSystemException, Format(attempt, path).toString());
}

blocxx::File openDirectory(const String& path) {
    blocxx::File directory(
        ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (!directory) {
        fail("Cannot open the directory \"%1\"", path);
    }
    return directory;
}

struct stat statusOf(const blocxx::File& directory, const String& path) {
    struct stat status {};
    if (::fstat(directory.getFileDescriptor(), &status) != 0) {
        fail("Cannot look at \"%1\"", path);
    }
    return status;
}

struct CloseListing {
    void operator()(DIR* listing) const noexcept { ::closedir(listing); }
};

/// The names of everything in the directory but its subdirectories.
StringArray fileNames(int directory) {
    // A descriptor of its own, so that every listing begins at the beginning.
    const int fd = ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, CloseListing> listing(fd < 0 ? nullptr : ::fdopendir(fd));
    if (!listing) {
        BLOCXX_THROW_ERRNO(blocxx::FileSystemException, "Cannot list the repository directory");
    }
    StringArray names;
    errno = 0;
    while (const dirent* entry = ::readdir(listing.get())) {
        struct stat status {};
        if (::fstatat(directory, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
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

bool isSameFile(int oneDirectory, int otherDirectory, const String& name) {
    struct stat one {};
    struct stat other {};
    return ::fstatat(oneDirectory, name.c_str(), &one, AT_SYMLINK_NOFOLLOW) == 0 &&
           ::fstatat(otherDirectory, name.c_str(), &other, AT_SYMLINK_NOFOLLOW) == 0 &&
           one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

}  // namespace

KeptFiles::KeptFiles(const String& directory, const String& keeper) : m_path(keeper) {
    const blocxx::File from = openDirectory(directory);
    const struct stat status = statusOf(from, directory);
    m_uid = status.st_uid;
    m_gid = status.st_gid;
    m_mode = status.st_mode & 07777;
    open();
    try {
        linkFiles(from.getFileDescriptor());
    } catch (...) {
        drop();
        throw;
    }
}

KeptFiles::~KeptFiles() {
    drop();
}

void KeptFiles::open() {
    if (!FileSystem::makeDirectory(m_path, 0700)) {
        if (errno != EEXIST) {
            fail("Cannot make the directory \"%1\"", m_path);
        }
        m_keeper = openDirectory(m_path);
        drop();
        if (!FileSystem::makeDirectory(m_path, 0700)) {
            fail("Cannot replace the directory \"%1\" that an earlier run has left", m_path);
        }
    }
    m_keeper = openDirectory(m_path);
    // The account must be able to remove what a killed run leaves.
    if (::geteuid() == 0 && ::fchown(m_keeper.getFileDescriptor(), m_uid, m_gid) != 0) {
        const int errnum = errno;
        drop();
        errno = errnum;
        fail("Cannot change the owner of \"%1\"", m_path);
    }
}

void KeptFiles::linkFiles(int from) {
    for (const String& name : fileNames(from)) {
        if (::linkat(from, name.c_str(), m_keeper.getFileDescriptor(), name.c_str(), 0) != 0) {
            fail("Cannot make a second name for a file of the repository, \"%1\"",
                 m_path + "/" + name);
        }
    }
}

// What remains is recognised by its name and replaced by the next run.
void KeptFiles::drop() noexcept {
    if (!m_keeper) {
        return;
    }
    const int keeper = m_keeper.getFileDescriptor();
    try {
        for (const String& name : fileNames(keeper)) {
            ::unlinkat(keeper, name.c_str(), 0);
        }
    } catch (const std::exception&) {
        return;
    }
    ::rmdir(m_path.c_str());
    m_keeper.close();
}

void KeptFiles::putBack(const String& directory) {
    try {
        putBackFiles(directory);
    } catch (const blocxx::Exception& e) {
        m_keeper = blocxx::File();
        UndoMessages::logUndoFailure(
            Format("%1The attempt to put back the files of %2 failed with error:\n%3%4move the "
                   "files in %5 into the repository directory.",
                   UndoMessages::HEAD, directory, e, UndoMessages::LEAD_IN, m_path));
    }
}

void KeptFiles::putBackFiles(const String& directory) {
    const bool isNew = ::mkdir(directory.c_str(), 0700) == 0;
    blocxx::File target = openDirectory(directory);
    const int to = target.getFileDescriptor();
    if (isNew && (::fchown(to, m_uid, m_gid) != 0 || ::fchmod(to, m_mode) != 0)) {
        fail("Cannot change the owner and the mode of \"%1\"", directory);
    }
    const int from = m_keeper.getFileDescriptor();
    for (const String& name : fileNames(from)) {
        // Renaming one name of a file to another name of it would do nothing.
        if (!isSameFile(from, to, name) && ::renameat(from, name.c_str(), to, name.c_str()) != 0) {
            fail("Cannot put back \"%1\"", name);
        }
    }
    if (target.flush() != 0) {
        fail("Cannot put \"%1\" on the disk", directory);
    }
    drop();
}

}  // namespace KOVNS2
