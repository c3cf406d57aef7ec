// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/RequestBudget.hpp"

namespace OwCimomd {

std::shared_ptr<RequestBudget::Part> RequestBudget::take(uid_t user, size_t bytes) {
    if (user == 0) {
        return std::make_shared<Part>(*this, user, 0);
    }
    const auto found = m_users.find(user);
    const size_t has = found == m_users.end() ? 0 : found->second;
    const bool isFree = bytes <= m_maxRequest - has && bytes <= SHARES * m_maxRequest - m_taken;
    return isFree ? std::make_shared<Part>(*this, user, bytes) : nullptr;
}

RequestBudget::Part::Part(RequestBudget& budget, uid_t user, size_t bytes)
    : m_budget(budget), m_user(user), m_bytes(bytes) {
    if (bytes > 0) {
        m_budget.m_users[user] += bytes;
        m_budget.m_taken += bytes;
    }
}

RequestBudget::Part::~Part() {
    if (m_bytes == 0) {
        return;
    }
    const auto user = m_budget.m_users.find(m_user);
    m_budget.m_taken -= m_bytes;
    if ((user->second -= m_bytes) == 0) {
        m_budget.m_users.erase(user);
    }
}

}  // namespace OwCimomd
