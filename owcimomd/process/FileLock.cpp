// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/FileLock.hpp"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "blocxx/File.hpp"

// Newer than the headers of some systems that have a kernel with it.
#ifndef LANDLOCK_ACCESS_FS_TRUNCATE
#define LANDLOCK_ACCESS_FS_TRUNCATE (1ULL << 14)
#endif

namespace OwCimomd {

using blocxx::File;

namespace {

// The version of the kernel's interface that can lock truncation.
constexpr long WITH_TRUNCATION = 3;

constexpr __u64 GRANTED =
    LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_REMOVE_FILE;
constexpr __u64 LOCKED = GRANTED | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                         LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_SOCK |
                         LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
                         LANDLOCK_ACCESS_FS_MAKE_SYM;

/// 0 or an errno.
int grant(const File& rules, const blocxx::String& directory, __u64 access) noexcept {
    const File opened(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!opened) {
        return 0;
    }
    const landlock_path_beneath_attr rule{access, opened.getFileDescriptor()};
    return ::syscall(SYS_landlock_add_rule, rules.getFileDescriptor(), LANDLOCK_RULE_PATH_BENEATH,
                     &rule, 0) == 0
               ? 0
               : errno;
}

}  // namespace

int lockFiles(const blocxx::StringArray& writable) noexcept {
    const long version =
        ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 0) {
        return errno;
    }
    const __u64 truncation = version < WITH_TRUNCATION ? 0 : LANDLOCK_ACCESS_FS_TRUNCATE;
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs = LOCKED | truncation;
    const File rules(static_cast<int>(
        ::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
    if (!rules) {
        return errno;
    }
    for (const blocxx::String& directory : writable) {
        if (const int failure = grant(rules, directory, GRANTED | truncation)) {
            return failure;
        }
    }
    return ::syscall(SYS_landlock_restrict_self, rules.getFileDescriptor(), 0) == 0 ? 0 : errno;
}

}  // namespace OwCimomd
