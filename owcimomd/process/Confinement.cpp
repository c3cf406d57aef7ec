// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/Confinement.hpp"

#include <sys/prctl.h>

#include <cerrno>
#include <cstring>

#include "blocxx/Exception.hpp"
#include "blocxx/Format.hpp"
#include "owcimomd/process/FileLock.hpp"
#include "owcimomd/process/Log.hpp"
#include "owcimomd/process/SystemCallFilter.hpp"

namespace OwCimomd {

namespace {

void reportUnless(int failure, const char* what) {
    if (failure != 0) {
        reportError(blocxx::Format("owcimomd runs without the lock on %1: %2", what,
                                   std::strerror(failure)));
    }
}

}  // namespace

void renounceNewPrivileges() {
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        BLOCXX_THROW_ERRNO(blocxx::Exception, "cannot renounce new privileges");
    }
}

void confine(const StringArray& writable) {
    reportUnless(lockFiles(writable), "files (Landlock)");
    reportUnless(filterSystemCalls(), "system calls (seccomp)");
}

}  // namespace OwCimomd
