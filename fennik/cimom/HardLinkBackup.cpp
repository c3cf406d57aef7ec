// SPDX-License-Identifier: Apache-2.0
//
// The daemon's account may rename entries of these directories at any time, so every call is
// relative to an open directory.
#include "fennik/cimom/HardLinkBackup.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "fennik/cimom/AccountDirectory.hpp"
#include "fennik/common/UnitLog.hpp"
#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

using AccountDirectory::fileNames;
using blocxx::Format;
namespace FileSystem = blocxx::FileSystem;

namespace {

[[noreturn]] void fail(const char* attempt, const String& path) {
    BLOCXX_THROW_ERRNO(blocxx::FileSystemException, Format(attempt, path).toString());
}

struct stat statusOf(const blocxx::File& directory, const String& path) {
    struct stat status {};
    if (::fstat(directory.getFileDescriptor(), &status) != 0) {
        fail("Cannot look at \"%1\"", path);
    }
    return status;
}

}  // namespace

HardLinkBackup::HardLinkBackup(const String& directory, const String& keeper)
    : m_path(keeper),
      m_name(FileSystem::Path::basename(keeper)),
      m_parent(AccountDirectory::openParentOf(keeper)) {
    const blocxx::File from = AccountDirectory::openIn(m_parent, directory);
    m_status = statusOf(from, directory);
    open();
    try {
        linkFiles(from);
    } catch (...) {
        drop();
        throw;
    }
}

HardLinkBackup::~HardLinkBackup() {
    drop();
}

bool HardLinkBackup::makeKeeper() {
    return ::mkdirat(m_parent.getFileDescriptor(), m_name.c_str(), 0700) == 0;
}

/// Refuses a directory of another owner, so that drop() never deletes somebody else's files.
void HardLinkBackup::openKeeper() {
    blocxx::File keeper = AccountDirectory::openIn(m_parent, m_path);
    const uid_t owner = statusOf(keeper, m_path).st_uid;
    if (owner != m_status.st_uid && owner != ::geteuid()) {
        errno = EPERM;
        fail("Cannot use the directory \"%1\", which is somebody else's", m_path);
    }
    m_keeper = keeper;
}

void HardLinkBackup::open() {
    if (!makeKeeper()) {
        if (errno != EEXIST) {
            fail("Cannot make the directory \"%1\"", m_path);
        }
        openKeeper();
        drop();
        if (!makeKeeper()) {
            fail("Cannot replace the directory \"%1\" that an earlier run has left", m_path);
        }
    }
    openKeeper();
    // The account must be able to remove a keeper that a killed run leaves behind.
    if (::geteuid() == 0 &&
        ::fchown(m_keeper.getFileDescriptor(), m_status.st_uid, m_status.st_gid) != 0) {
        const int errnum = errno;
        drop();
        errno = errnum;
        fail("Cannot change the owner of \"%1\"", m_path);
    }
}

void HardLinkBackup::linkFiles(const blocxx::File& from) {
    for (const String& name : fileNames(from)) {
        if (::linkat(from.getFileDescriptor(), name.c_str(), m_keeper.getFileDescriptor(),
                     name.c_str(), 0) != 0) {
            fail("Cannot make a second name for a file of the repository, \"%1\"",
                 m_path + "/" + name);
        }
    }
}

// The next run recognises what remains by its name and replaces it.
void HardLinkBackup::drop() noexcept {
    if (!m_keeper) {
        return;
    }
    try {
        for (const String& name : fileNames(m_keeper)) {
            ::unlinkat(m_keeper.getFileDescriptor(), name.c_str(), 0);
        }
    } catch (const std::exception&) {
        return;
    }
    ::unlinkat(m_parent.getFileDescriptor(), m_name.c_str(), AT_REMOVEDIR);
    m_keeper.close();
}

void HardLinkBackup::putBack(const String& directory) {
    try {
        putBackFiles(directory);
    } catch (const blocxx::Exception& e) {
        m_keeper = blocxx::File();
        logError(
            Format("%1The attempt to put back the files of %2 failed with error:\n%3%4move the "
                   "files in %5 into the repository directory.",
                   UndoMessages::HEAD, directory, e, UndoMessages::LEAD_IN, m_path));
    }
}

void HardLinkBackup::putBackFiles(const String& directory) {
    const String place = FileSystem::Path::basename(directory);
    const bool isNew = ::mkdirat(m_parent.getFileDescriptor(), place.c_str(), 0700) == 0;
    blocxx::File target = AccountDirectory::openIn(m_parent, directory);
    const int to = target.getFileDescriptor();
    if (isNew && (::fchown(to, m_status.st_uid, m_status.st_gid) != 0 ||
                  ::fchmod(to, m_status.st_mode & 07777) != 0)) {
        fail("Cannot change the owner and the mode of \"%1\"", directory);
    }
    const int from = m_keeper.getFileDescriptor();
    for (const String& name : fileNames(m_keeper)) {
        // Does nothing when both names are links to the same file; drop() then removes this one.
        if (::renameat(from, name.c_str(), to, name.c_str()) != 0) {
            fail("Cannot put back \"%1\"", name);
        }
    }
    if (target.flush() != 0) {
        fail("Cannot put \"%1\" on the disk", directory);
    }
    drop();
}

}  // namespace KOVNS2
