// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/Account.hpp"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "blocxx/Format.hpp"
#include "blocxx/Secure.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

/// Of a user in the system's list, in bytes.
constexpr size_t MAX_ENTRY = size_t(1) << 20U;

bool isNow(uid_t uid, gid_t gid) {
    uid_t realUid = 0;
    uid_t effectiveUid = 0;
    uid_t savedUid = 0;
    gid_t realGid = 0;
    gid_t effectiveGid = 0;
    gid_t savedGid = 0;
    return getresuid(&realUid, &effectiveUid, &savedUid) == 0 &&
           getresgid(&realGid, &effectiveGid, &savedGid) == 0 && realUid == uid &&
           effectiveUid == uid && savedUid == uid && realGid == gid && effectiveGid == gid &&
           savedGid == gid && getgroups(0, nullptr) == 1;
}

}  // namespace

void becomeAccount(const String& name) {
    const auto [user, group] = blocxx::Secure::unprivilegedAccount(name);
    if (setgroups(1, &group) != 0 || setresgid(group, group, group) != 0 ||
        setresuid(user, user, user) != 0 || !isNow(user, group)) {
        BLOCXX_THROW(blocxx::Exception,
                     Format("cannot change to the account \"%1\": %2", name, std::strerror(errno)));
    }
}

String userName(uid_t uid) {
    const passwd* found = getpwuid(uid);
    return found == nullptr ? String() : String(found->pw_name);
}

std::optional<uid_t> userId(const String& name) {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(1024);
    while (::getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) == ERANGE &&
           buffer.size() < MAX_ENTRY) {
        buffer.resize(2 * buffer.size());
    }
    return found == nullptr ? std::nullopt : std::optional<uid_t>(entry.pw_uid);
}

}  // namespace OwCimomd
