// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/PullContexts.hpp"

#include <sys/random.h>

#include <algorithm>
#include <cerrno>

#include "blocxx/Format.hpp"

namespace OwCimomd {

namespace {

/// What a context may take beside its written results: those of one portion at most.
constexpr size_t CONTEXT_BYTES = size_t(64) << 10U;
/// How much larger than its message a call is: a list of properties is there twice.
constexpr size_t CALL_FACTOR = 2;

String randomName() {
    unsigned char bytes[16];
    if (::getrandom(bytes, sizeof bytes, 0) != ssize_t(sizeof bytes)) {
        OPENWBEM_THROW_CIM(FAILED, "there are no random numbers");
    }
    String name;
    for (const unsigned char byte : bytes) {
        constexpr char DIGITS[] = "0123456789abcdef";
        name += DIGITS[byte >> 4U];
        name += DIGITS[byte & 15U];
    }
    return name;
}

}  // namespace

void PullContexts::dropExpired() {
    std::erase_if(m_contexts,
                  [now = m_timer.now()](const auto& entry) { return entry.second.end <= now; });
}

String PullContexts::keep(const User& user, PulledEnumeration enumeration, uint32_t timeout,
                          size_t size) {
    dropExpired();
    const auto isUsers = [&](const auto& entry) { return entry.second.user == user.uid; };
    if (size_t(std::count_if(m_contexts.begin(), m_contexts.end(), isUsers)) >= MAX_CONTEXTS) {
        OPENWBEM_THROW_CIM(SERVER_LIMITS_EXCEEDED, "too many enumerations are under way at once");
    }
    enumeration.share = m_budget.take(user.uid, CONTEXT_BYTES + CALL_FACTOR * size);
    if (!enumeration.share) {
        OPENWBEM_THROW_CIM(SERVER_LIMITS_EXCEEDED,
                           "the enumerations of this user that are under way take too much memory");
    }
    const String name = randomName();
    putBack(user, name, std::move(enumeration), timeout);
    return name;
}

std::pair<PulledEnumeration, uint32_t> PullContexts::take(const User& user, const String& ns,
                                                          const String& name) {
    dropExpired();
    const auto found = m_contexts.find(name);
    if (found == m_contexts.end() || found->second.user != user.uid ||
        !blocxx::equalsIgnoreCase(found->second.enumeration.opening->ns(), ns)) {
        OPENWBEM_THROW_CIM(
            INVALID_ENUMERATION_CONTEXT,
            "there is no such enumeration: it has ended, or was left alone too long");
    }
    auto node = m_contexts.extract(found);
    return {std::move(node.mapped().enumeration), node.mapped().timeout};
}

void PullContexts::putBack(const User& user, const String& name, PulledEnumeration enumeration,
                           uint32_t timeout) {
    const auto end = m_timer.now() + timeout * kj::SECONDS;
    m_contexts.insert_or_assign(name, Context{user.uid, std::move(enumeration), timeout, end});
}

}  // namespace OwCimomd
