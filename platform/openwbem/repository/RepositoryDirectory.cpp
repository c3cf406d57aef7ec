// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/RepositoryDirectory.hpp"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <optional>
#include <string_view>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/repository/CIMRepository.hpp"

namespace OpenWBEM {

using blocxx::String;

namespace {

// SQLite knows files by name only. A name with this prefix holds the descriptor of the directory,
// so that the directory may be moved or replaced. The system never sees such a name.
constexpr std::string_view DESCRIPTORS = "/proc/self/fd/";

struct Place {
    int directory;
    const char* name;
    std::string_view ending;  ///< what follows the name of the repository file
};

std::optional<Place> placeOf(const char* path) noexcept {
    std::string_view rest(path == nullptr ? "" : path);
    Place place{};
    if (!rest.starts_with(DESCRIPTORS)) {
        return std::nullopt;
    }
    rest.remove_prefix(DESCRIPTORS.size());
    const auto [end, failure] =
        std::from_chars(rest.data(), rest.data() + rest.size(), place.directory);
    rest.remove_prefix(static_cast<size_t>(end - rest.data()));
    if (failure != std::errc() || place.directory < 0 || !rest.starts_with('/')) {
        return std::nullopt;
    }
    rest.remove_prefix(1);
    place.name = rest.data();
    if (!rest.starts_with(CIMRepository::FILE_NAME)) {
        return std::nullopt;
    }
    place.ending = rest.substr(std::string_view(CIMRepository::FILE_NAME).size());
    for (const char* own : {"", "-journal", "-wal"}) {
        if (place.ending == own) {
            return place;
        }
    }
    return std::nullopt;
}

bool mayBeUsed(int file, int directory) noexcept {
    struct stat status {};
    struct stat owner {};
    return ::fstat(file, &status) == 0 && ::fstat(directory, &owner) == 0 &&
           S_ISREG(status.st_mode) && (status.st_nlink <= 1 || status.st_uid == owner.st_uid);
}

int openOwn(const char* path, int flags, int mode) noexcept {
    const std::optional<Place> place = placeOf(path);
    if (!place) {
        return ::open(path, flags, mode);
    }
    const int file =
        ::openat(place->directory, place->name, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, mode);
    if (file >= 0 && !mayBeUsed(file, place->directory)) {
        ::close(file);
        errno = EPERM;
        return -1;
    }
    return file;
}

int statOwn(const char* path, struct stat* status) noexcept {
    const std::optional<Place> place = placeOf(path);
    return place ? ::fstatat(place->directory, place->name, status, AT_SYMLINK_NOFOLLOW)
                 : ::stat(path, status);
}

int unlinkOwn(const char* path) noexcept {
    const std::optional<Place> place = placeOf(path);
    return place ? ::unlinkat(place->directory, place->name, 0) : ::unlink(path);
}

/// Opens the directory of a file to sync it.
int openDirectoryOf(const char* path, int* directory) noexcept {
    const std::optional<Place> place = placeOf(path);
    *directory = place ? ::openat(place->directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    return *directory >= 0 ? SQLITE_OK : SQLITE_CANTOPEN;
}

/// SQLite gives each journal that it opens to the owner of the repository file. This leaves a
/// journal that is not empty: the owner may not be allowed to read it.
int chownIfEmpty(int file, uid_t uid, gid_t gid) noexcept {
    struct stat status {};
    const bool isNew = ::fstat(file, &status) == 0 && status.st_size == 0;
    return isNew ? ::fchown(file, uid, gid) : 0;
}

/// The target of a link, resolved against the directory of the link; empty on failure.
String targetOf(int link, const String& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t size = ::readlinkat(link, "", target.data(), target.size());
    if (size <= 0 || static_cast<size_t>(size) == target.size()) {
        return {};
    }
    const String text(target.data(), static_cast<size_t>(size));
    return text.starts_with('/') ? text : blocxx::FileSystem::Path::dirname(path) + "/" + text;
}

blocxx::File openDirectory(const String& path) {
    blocxx::File found(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!found || ::fstat(found.getFileDescriptor(), &status) != 0 || S_ISDIR(status.st_mode)) {
        return found;
    }
    const bool isTrusted = status.st_uid == 0 || status.st_uid == ::geteuid();
    if (!S_ISLNK(status.st_mode) || !isTrusted) {
        return {};
    }
    const String target = targetOf(found.getFileDescriptor(), path);
    return blocxx::File(::open(target.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

RepositoryDirectory::RepositoryDirectory(const String& path)
    : m_directory(openDirectory(path)),
      m_file(String(DESCRIPTORS) + std::to_string(m_directory.getFileDescriptor()) + "/" +
             CIMRepository::FILE_NAME) {}

bool RepositoryDirectory::has(const char* ending) const noexcept {
    struct stat status {};
    return statOwn((m_file + ending).c_str(), &status) == 0;
}

bool RepositoryDirectory::isAt(const String& path) const {
    const blocxx::File found = openDirectory(path);
    struct stat there {};
    struct stat here {};
    return ::fstat(found.getFileDescriptor(), &there) == 0 &&
           ::fstat(m_directory.getFileDescriptor(), &here) == 0 && here.st_nlink > 0 &&
           there.st_dev == here.st_dev && there.st_ino == here.st_ino;
}

bool RepositoryDirectory::sync() const noexcept {
    int directory = -1;
    openDirectoryOf(m_file.c_str(), &directory);
    const bool isSynced = directory >= 0 && ::fsync(directory) == 0;
    if (directory >= 0) {
        ::close(directory);
    }
    return isSynced;
}

bool RepositoryDirectory::remove(const char* ending) const noexcept {
    return unlinkOwn((m_file + ending).c_str()) == 0;
}

bool RepositoryDirectory::makeFile() const {
    const blocxx::File made(openOwn(m_file.c_str(), O_RDWR | O_CREAT | O_EXCL, 0666));
    return static_cast<bool>(made);
}

bool RepositoryDirectory::isOwn(const char* name) noexcept {
    return placeOf(name).has_value();
}

bool RepositoryDirectory::isJournalOrLog(const char* name) noexcept {
    const std::optional<Place> place = placeOf(name);
    return place && (place->ending == "-journal" || place->ending == "-wal");
}

void RepositoryDirectory::guard(sqlite3_vfs& layer) {
    const auto replace = [&layer](const char* call, auto* function) {
        const int rc =
            layer.xSetSystemCall(&layer, call, reinterpret_cast<sqlite3_syscall_ptr>(function));
        if (rc != SQLITE_OK) {
            OPENWBEM_THROW_CIM(FAILED, blocxx::Format("SQLite does not let its \"%1\" be guarded; "
                                                      "repositories cannot be opened with it",
                                                      call));
        }
    };
    replace("open", openOwn);
    replace("stat", statOwn);
    replace("unlink", unlinkOwn);
    replace("openDirectory", openDirectoryOf);
    replace("fchown", chownIfEmpty);
}

}  // namespace OpenWBEM
