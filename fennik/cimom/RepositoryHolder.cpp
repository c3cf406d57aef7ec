// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/RepositoryHolder.hpp"

#include <fcntl.h>

#include "blocxx/FileSystem.hpp"
#include "fennik/cimom/AccountDirectory.hpp"
#include "openwbem/repository/CIMRepository.hpp"

namespace KOVNS2 {

using blocxx::String;

namespace {

/// The process that has a lock on the file, or 0.
pid_t lockHolderPid(const String& directory) {
    const blocxx::File place = AccountDirectory::open(directory);
    const blocxx::File file(::openat(place.getFileDescriptor(), OpenWBEM::CIMRepository::FILE_NAME,
                                     O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const bool isLocked = file && ::fcntl(file.getFileDescriptor(), F_GETLK, &lock) == 0 &&
                          lock.l_type != F_UNLCK && lock.l_pid > 0;
    return isLocked ? lock.l_pid : 0;
}

/// The name of the process, as " (NAME)"; empty when it cannot be read.
String nameOf(const String& number) {
    try {
        String name = blocxx::FileSystem::getFileContents("/proc/" + number + "/comm");
        name = name.substr(0, name.find('\n'));
        return name.empty() ? name : " (" + name + ")";
    } catch (const blocxx::FileSystemException&) {
        return {};  // the process has just ended
    }
}

}  // namespace

String describeLockHolder(const String& directory) {
    try {
        const pid_t process = lockHolderPid(directory);
        const String number = std::to_string(process);
        return process == 0 ? String() : "process " + number + nameOf(number);
    } catch (const blocxx::FileSystemException&) {
        return {};
    }
}

}  // namespace KOVNS2
