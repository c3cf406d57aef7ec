// SPDX-License-Identifier: Apache-2.0
//
// The caller's environment is hostile: only a TZ that cannot name a file elsewhere is passed on.
#include "blocxx/Secure.hpp"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "blocxx/Format.hpp"

namespace blocxx::Secure {

namespace {

constexpr size_t LONGEST_TIME_ZONE = 64;
constexpr size_t LARGEST_ACCOUNT_ENTRY = size_t{1} << 20;

bool isZoneCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_+-,./").find(c) != std::string_view::npos;
}

// A zone by name ("Europe/Berlin") or by rule ("CET-1CEST,M3.5.0"), never a file elsewhere.
bool isPlainTimeZone(std::string_view zone) {
    return !zone.empty() && zone.size() <= LONGEST_TIME_ZONE && zone.front() != '/' &&
           zone.find("..") == zone.npos && std::ranges::all_of(zone, isZoneCharacter);
}

}  // namespace

StringArray minimalEnvironment() {
    StringArray environment{"PATH=/bin:/usr/bin:/sbin:/usr/sbin", "SHELL=/bin/sh"};
    const char* zone = std::getenv("TZ");
    if (zone != nullptr && isPlainTimeZone(zone)) {
        environment.push_back(String("TZ=") + zone);
    }
    return environment;
}

std::optional<Process::Identity> lookupAccount(const String& name) {
    Array<char> buffer(1024);
    passwd entry = {};
    passwd* found = nullptr;
    int error = 0;
    while ((error = getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found)) ==
               EINTR ||
           (error == ERANGE && buffer.size() < LARGEST_ACCOUNT_ENTRY)) {
        buffer.resize(error == ERANGE ? buffer.size() * 2 : buffer.size());
    }
    if (found != nullptr) {
        return Process::Identity{found->pw_uid, found->pw_gid};
    }
    // Some name services report an unknown name as one of these errors.
    if (error != 0 && error != ENOENT && error != ESRCH) {
        errno = error;
        BLOCXX_THROW_ERRNO(ProcessException,
                           Format("Cannot look up the account \"%1\"", name).toString());
    }
    return std::nullopt;
}

Process::Identity unprivilegedAccount(const String& name) {
    const auto account = lookupAccount(name);
    if (!account) {
        BLOCXX_THROW(
            ProcessException,
            Format("The account \"%1\" does not exist, and nothing is run as root instead; "
                   "kov-setup creates the account",
                   name));
    }
    if (account->uid == 0 || account->gid == 0) {
        BLOCXX_THROW(ProcessException,
                     Format("The account \"%1\" has root's user or group id, and nothing is run as "
                            "root; give it ids of its own",
                            name));
    }
    return *account;
}

}  // namespace blocxx::Secure
