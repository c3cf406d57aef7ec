// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/Places.hpp"

#include <algorithm>

namespace OwCimomd {

namespace {

constexpr size_t FOR_ROOT = 16;
/// A share that no honest user exceeds, where there are that many.
constexpr size_t LEAST_SHARE = 128;
constexpr size_t SHARES = 4;

}  // namespace

Places::Places(size_t all) noexcept
    : m_all(all),
      m_forRoot(std::min(FOR_ROOT, all / SHARES)),
      m_perUser(std::max(LEAST_SHARE, all / SHARES)) {}

bool Places::isFree(const User& user, bool isStranger) const {
    if (user.uid == 0) {
        return m_taken < m_all;
    }
    const auto has = m_users.find(user.uid);
    return m_taken + m_forRoot < m_all && (has == m_users.end() || has->second < m_perUser) &&
           (!isStranger || m_strangers < MAX_STRANGERS);
}

std::shared_ptr<Places::Place> Places::take(const User& user, bool isStranger) {
    return isFree(user, isStranger) ? std::make_shared<Place>(*this, user.uid, isStranger)
                                    : nullptr;
}

Places::Place::Place(Places& places, uid_t uid, bool isStranger)
    : m_places(places), m_uid(uid), m_isStranger(isStranger) {
    ++m_places.m_users[uid];
    ++m_places.m_taken;
    m_places.m_strangers += isStranger ? 1 : 0;
}

Places::Place::~Place() {
    const auto user = m_places.m_users.find(m_uid);
    if (--user->second == 0) {
        m_places.m_users.erase(user);
    }
    --m_places.m_taken;
    m_places.m_strangers -= m_isStranger ? 1 : 0;
}

}  // namespace OwCimomd
