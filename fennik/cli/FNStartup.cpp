// SPDX-License-Identifier: Apache-2.0
#include "fennik/cli/FNStartup.hpp"

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "fennik/undo/FennikException.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::String;

namespace {

// A provider registration keeps many MOF and privilege files open at a time.
constexpr rlim_t DESCRIPTOR_FLOOR = 256;

/// Open and locked for the life of the process.
blocxx::File g_lockFile;

}  // namespace

void validateUserContext() {
    if (::geteuid() != 0) {
        BLOCXX_THROW_ERR(FennikException, "fennik must be run as root", 8);
    }
}

// The hard limit is lowered to the floor, too: cp and rm get no more than the tool.
void CheckUlimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        BLOCXX_THROW_ERRNO(FennikException, "getrlimit failed");
    }
    if (limit.rlim_cur >= DESCRIPTOR_FLOOR) {
        return;
    }
    limit = {DESCRIPTOR_FLOOR, DESCRIPTOR_FLOOR};
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        BLOCXX_THROW_ERRNO(FennikException, "setrlimit failed");
    }
}

void acquireLock(const String& prefix) {
    const String path = prefix + "/var/opt/tarvo/kov/fennik.lock";
    g_lockFile = blocxx::FileSystem::openOrCreateFile(path);
    if (!g_lockFile) {
        const int errnum = errno;
        BLOCXX_THROW_ERR(FennikException,
                         Format("Failed to open lock file %1: %2", path, std::strerror(errnum)), 9);
    }
    if (g_lockFile.getLock(blocxx::File::E_WRITE_LOCK) != 0) {
        const int errnum = errno;
        BLOCXX_THROW_ERR(FennikException,
                         Format("Failed to lock lockfile: %1", std::strerror(errnum)), 10);
    }
}

}  // namespace KOVNS2
