// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/Directories.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"

namespace KovSetup {

using blocxx::Format;
namespace FileSystem = blocxx::FileSystem;
using Identity = blocxx::Process::Identity;

namespace {

constexpr mode_t PUBLIC_MODE = 0755;
constexpr mode_t PRIVATE_MODE = 0700;
constexpr mode_t CONFIG_FILE_MODE = 0644;

constexpr std::string_view DEFAULT_CONFIG =
    "# Configuration of the object manager owcimomd.\n"
    "#\n"
    "# One \"key = value\" a line; lines that begin with \"#\" or \";\" are comments. The files "
    "in\n"
    "# openwbem.conf.d are read after this one, in the order of their names. Products put theirs\n"
    "# there with \"fennik --set-owcimomd-config\"; do not edit those by hand.\n";

void makeDirectory(const String& path) {
    if (FileSystem::makeDirectory(path, PUBLIC_MODE)) {
        // mkdir applied the umask.
        if (!FileSystem::changeFileMode(path, PUBLIC_MODE)) {
            BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot set the mode of \"%1\"", path));
        }
        return;
    }
    const int error = errno;
    if (error == EEXIST && FileSystem::isDirectory(path)) {
        return;
    }
    errno = error;
    BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot make the directory \"%1\"", path));
}

void makeDirectoryWithParents(const String& path) {
    if (FileSystem::isDirectory(path)) {
        return;
    }
    for (size_t end = path.find('/', 1); end != String::npos; end = path.find('/', end + 1)) {
        makeDirectory(path.substr(0, end));
    }
    makeDirectory(path);
}

void changeOwner(const String& path, const Identity& account) {
    if (fchownat(AT_FDCWD, path.c_str(), account.uid, account.gid, AT_SYMLINK_NOFOLLOW) != 0) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot give \"%1\" to the account \"%2\"",
                                                     path, Layout::ACCOUNT));
    }
}

}  // namespace

void makeDirectories(const Layout::Tree& tree) {
    makeDirectoryWithParents(tree.path(Layout::DROP_IN_DIRECTORY));
    makeDirectoryWithParents(tree.path(Layout::PRIVILEGES_DIRECTORY));
    makeDirectoryWithParents(tree.path(Layout::AGENT_PRIVILEGES_DIRECTORY));
    makeDirectoryWithParents(tree.path(Layout::DATA_DIRECTORY));
}

void makePrivateDirectory(const String& path) {
    if (!FileSystem::makeDirectory(path, PRIVATE_MODE)) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot make the directory \"%1\"", path));
    }
}

void handOver(const String& directory, const Identity& account) {
    std::error_code failure;
    for (std::filesystem::directory_iterator it(directory, failure), end; !failure && it != end;
         it.increment(failure)) {
        changeOwner(it->path().string(), account);
    }
    if (failure) {
        errno = failure.value();
        BLOCXX_THROW_ERRNO(blocxx::Exception,
                           Format("cannot list the directory \"%1\"", directory));
    }
    changeOwner(directory, account);
}

void writeDefaultConfig(const String& path) {
    if (isTaken(path)) {
        return;
    }
    if (FileSystem::createNew(path, DEFAULT_CONFIG) != FileSystem::WriteStep::DONE ||
        !FileSystem::changeFileMode(path, CONFIG_FILE_MODE)) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot write \"%1\"", path));
    }
    FileSystem::syncName(path);
}

bool isTaken(const String& path) {
    struct stat unused {};
    if (lstat(path.c_str(), &unused) == 0) {
        return true;
    }
    if (errno == ENOENT) {
        return false;
    }
    BLOCXX_THROW_ERRNO(blocxx::Exception, Format("cannot look at \"%1\"", path));
}

}  // namespace KovSetup
