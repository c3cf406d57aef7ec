// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/RequestBudget.hpp"

#include "blocxx/Invariant.hpp"

namespace OwCimomd {

namespace {

constexpr size_t SHARES = 4;

}  // namespace

RequestBudget::Share RequestBudget::take(uid_t user, size_t bytes) {
    if (user == 0) {
        bytes = 0;
    }
    size_t& has = m_users[user];
    if (bytes > m_maxRequest - has || bytes > SHARES * m_maxRequest - m_taken) {
        giveBack(user, 0);
        return nullptr;
    }
    has += bytes;
    m_taken += bytes;
    return {this, [user, bytes](RequestBudget* budget) { budget->giveBack(user, bytes); }};
}

void RequestBudget::giveBack(uid_t user, size_t bytes) noexcept {
    // Too much given back would let the next request have any size.
    if (!blocxx::believed(bytes <= m_taken)) {
        return;
    }
    m_taken -= bytes;
    const auto found = m_users.find(user);
    if (found != m_users.end() && (found->second -= bytes) == 0) {
        m_users.erase(found);
    }
}

}  // namespace OwCimomd
