// SPDX-License-Identifier: Apache-2.0
#include "utilities/ownership/Ownership.hpp"

#include <acl/libacl.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "blocxx/Exception.hpp"
#include "blocxx/Format.hpp"

namespace OwUtilities {

using blocxx::Format;
using Identity = blocxx::Process::Identity;

namespace {

constexpr mode_t PERMISSIONS = 07777;
constexpr mode_t WRITABLE_FOR_OTHERS = S_IWGRP | S_IWOTH;

struct AclDeleter {
    void operator()(acl_t acl) const noexcept { acl_free(acl); }
};
using Acl = std::unique_ptr<std::remove_pointer_t<acl_t>, AclDeleter>;

struct DirectoryCloser {
    void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

[[noreturn]] void failed(const char* attempt, const String& path) {
    BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot %1 \"%2\"", attempt, path));
}

struct stat statusOf(int fd, const String& path) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        failed("look at", path);
    }
    return status;
}

String octal(mode_t mode) {
    String text;
    for (int shift = 9; shift >= 0; shift -= 3) {
        text += static_cast<char>('0' + ((mode >> shift) & 7));
    }
    return text;
}

/// Reading for the account, and nothing for the group and others. What a file gets from the default
/// list of its directory is the same.
Acl listFor(const Identity& account, bool forNewFiles) {
    Acl acl(
        acl_from_text(Format("user::%1,user:%2:r-x,group::---,mask::%3,other::---",
                             forNewFiles ? "rwx" : "rw-", account.uid, forNewFiles ? "r-x" : "r--")
                          .toString()
                          .c_str()));
    if (!acl) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot make an access list");
    }
    return acl;
}

}  // namespace

void Adjustment::add(OwnershipDeviation deviation) {
    if (m_found.insert(deviation.text).second) {
        m_deviations.push_back(std::move(deviation));
    }
}

std::optional<OwnedFile> OwnedFile::directory(const String& path, Adjustment& adjustment) {
    blocxx::File file(
        ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY));
    if (file) {
        return OwnedFile(path, std::move(file));
    }
    if (!adjustment.onlyLooks() || (errno != ENOENT && errno != ENOTDIR && errno != ELOOP)) {
        failed("open the directory", path);
    }
    const bool isMissing = errno == ENOENT;
    adjustment.add(
        {path,
         Format(isMissing ? "the directory \"%1\" is missing" : "\"%1\" is not a directory", path),
         isMissing ? OwnershipDeviation::Kind::MISSING : OwnershipDeviation::Kind::NO_DIRECTORY});
    return std::nullopt;
}

std::optional<OwnedFile> OwnedFile::file(const String& name, Adjustment& adjustment) const {
    const String path = m_path + "/" + name;
    blocxx::File file(
        ::openat(fd(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file) {
        if (errno == ENOENT || errno == ELOOP || errno == ENXIO) {
            return std::nullopt;
        }
        failed("open the file", path);
    }
    const struct stat status = statusOf(file.getFileDescriptor(), path);
    if (!S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    if (status.st_nlink != 1 && adjustment.onlyLooks()) {
        adjustment.add({path, Format("\"%1\" has a second name, perhaps elsewhere", path),
                        OwnershipDeviation::Kind::SECOND_NAME});
        return std::nullopt;
    }
    if (status.st_nlink != 1) {
        BLOCXX_THROW(blocxx::Exception,
                     Format("\"%1\" has a second name, so whose file it is cannot be told. Remove "
                            "it, or replace it by a copy, and run kov-setup again",
                            path));
    }
    return OwnedFile(path, std::move(file));
}

void OwnedFile::eachFile(const std::function<void(OwnedFile&)>& action, Adjustment& adjustment,
                         size_t most) const {
    const StringArray names = fileNames(most);
    if (names.size() > most) {
        const String what = Format("\"%1\" has more than %2 files", m_path, most);
        if (!adjustment.onlyLooks()) {
            BLOCXX_THROW(blocxx::Exception, what + ". kov-verify shows how to remove them");
        }
        return adjustment.add({m_path, what, OwnershipDeviation::Kind::TOO_MANY_FILES});
    }
    for (const String& name : names) {
        if (auto opened = file(name, adjustment)) {
            action(*opened);
        }
    }
}

StringArray OwnedFile::fileNames(size_t most) const {
    const int again = ::openat(fd(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, DirectoryCloser> stream(again < 0 ? nullptr : ::fdopendir(again));
    if (!stream) {
        failed("list the directory", m_path);
    }
    StringArray names;
    errno = 0;
    const dirent* entry = nullptr;
    while (names.size() <= most && (entry = ::readdir(stream.get())) != nullptr) {
        // Only regular files are opened: opening a device can have effects.
        if (entry->d_type == DT_REG || entry->d_type == DT_UNKNOWN) {
            names.emplace_back(static_cast<const char*>(entry->d_name));
        }
        errno = 0;
    }
    if (errno != 0) {
        failed("list the directory", m_path);
    }
    std::ranges::sort(names);
    return names;
}

void OwnedFile::setOwner(const Identity& owner, const String& name, Adjustment& adjustment) {
    const struct stat status = statusOf(fd(), m_path);
    if (status.st_uid == owner.uid && status.st_gid == owner.gid) {
        return;
    }
    if (adjustment.onlyLooks()) {
        return adjustment.add({m_path, Format("\"%1\" does not belong to %2", m_path, name)});
    }
    if (::fchown(fd(), owner.uid, owner.gid) != 0) {
        BLOCXX_THROW_ERRNO(blocxx::Exception,
                           Format("cannot give \"%1\" to the account \"%2\"", m_path, name));
    }
    adjustment.addChange(Format("\"%1\" belongs to %2 now", m_path, name));
}

void OwnedFile::setMode(mode_t mode, Adjustment& adjustment) {
    const mode_t present = statusOf(fd(), m_path).st_mode & PERMISSIONS;
    if (present == mode) {
        return;
    }
    if (adjustment.onlyLooks()) {
        return adjustment.add({m_path, Format("\"%1\" has the mode %2 instead of %3", m_path,
                                              octal(present), octal(mode))});
    }
    if (::fchmod(fd(), mode) != 0) {
        failed("set the mode of", m_path);
    }
    adjustment.addChange(Format("\"%1\" has the mode %2 now", m_path, octal(mode)));
}

void OwnedFile::protect(Adjustment& adjustment) {
    setMode(statusOf(fd(), m_path).st_mode & PERMISSIONS & ~WRITABLE_FOR_OTHERS, adjustment);
}

bool OwnedFile::hasReader(const Identity& account) const {
    const Acl present(acl_get_fd(fd()));
    return present && acl_cmp(present.get(), listFor(account, false).get()) == 0;
}

void OwnedFile::setReader(const Identity& account) {
    if (acl_set_fd(fd(), listFor(account, false).get()) != 0) {
        failed("set the access list of", m_path);
    }
}

void OwnedFile::letRead(const Identity& account, const String& name, Adjustment& adjustment) {
    if ((statusOf(fd(), m_path).st_mode & S_IROTH) != 0 || hasReader(account)) {
        return;
    }
    if (adjustment.onlyLooks()) {
        return adjustment.add({m_path, Format("%1 may not read \"%2\"", name, m_path)});
    }
    setReader(account);
    adjustment.addChange(Format("%1 may read \"%2\" now", name, m_path));
}

void OwnedFile::letReadAlone(const Identity& account, const String& name, Adjustment& adjustment) {
    if (hasReader(account)) {
        return;
    }
    if (adjustment.onlyLooks()) {
        return adjustment.add(
            {m_path, Format("\"%1\" is not readable for %2 and nobody else", m_path, name)});
    }
    setReader(account);
    adjustment.addChange(
        Format("%1 and nobody else may read \"%2\" now, besides root", name, m_path));
}

void OwnedFile::letReadNewFiles(const Identity& account, const String& name,
                                Adjustment& adjustment) {
    // There is no call for a default list that takes a descriptor.
    const String self = Format("/proc/self/fd/%1", fd());
    const Acl wanted = listFor(account, true);
    const Acl present(acl_get_file(self.c_str(), ACL_TYPE_DEFAULT));
    if (present && acl_cmp(present.get(), wanted.get()) == 0) {
        return;
    }
    if (adjustment.onlyLooks()) {
        return adjustment.add(
            {m_path, Format("%1 may not read every new file in \"%2\"", name, m_path)});
    }
    if (acl_set_file(self.c_str(), ACL_TYPE_DEFAULT, wanted.get()) != 0) {
        failed("set the default access list of", m_path);
    }
    adjustment.addChange(Format("%1 may read new files in \"%2\" now", name, m_path));
}

}  // namespace OwUtilities
