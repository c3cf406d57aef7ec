// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/ConnectionQuota.hpp"

#include <algorithm>

#include "blocxx/Invariant.hpp"

namespace OwCimomd {

namespace {

constexpr size_t FOR_ROOT = 16;
/// A share that no honest user exceeds, where there are that many.
constexpr size_t LEAST_SHARE = 128;
constexpr size_t SHARES = 4;

}  // namespace

ConnectionQuota::ConnectionQuota(size_t all) noexcept
    : m_all(all),
      m_forRoot(std::min(FOR_ROOT, all / SHARES)),
      m_perUser(std::max(LEAST_SHARE, all / SHARES)) {}

bool ConnectionQuota::isFree(const User& user, bool isStranger) const {
    if (user.uid == 0) {
        return m_taken < m_all;
    }
    const auto has = m_users.find(user.uid);
    return m_taken + m_forRoot < m_all && (has == m_users.end() || has->second < m_perUser) &&
           (!isStranger || m_strangers < MAX_STRANGERS);
}

ConnectionQuota::Slot ConnectionQuota::take(const User& user, bool isStranger) {
    if (!isFree(user, isStranger)) {
        return nullptr;
    }
    ++m_users[user.uid];
    ++m_taken;
    m_strangers += isStranger ? 1 : 0;
    return {this, [uid = user.uid, isStranger](ConnectionQuota* quota) {
                quota->giveBack(uid, isStranger);
            }};
}

void ConnectionQuota::giveBack(uid_t uid, bool isStranger) noexcept {
    const auto user = m_users.find(uid);
    if (!blocxx::believed(user != m_users.end() && m_taken > 0)) {
        return;
    }
    if (--user->second == 0) {
        m_users.erase(user);
    }
    --m_taken;
    m_strangers -= isStranger ? 1 : 0;
}

}  // namespace OwCimomd
