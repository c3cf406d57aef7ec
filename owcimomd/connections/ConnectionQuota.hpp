// SPDX-License-Identifier: Apache-2.0
//
// Limits the connections of each user. Descriptors are few and any local user can connect, so some
// stay free for root, each user has a bounded share of the rest, and peers who are not authorised,
// whose calls are only refused, have a few between them.
#pragma once

#include <map>
#include <memory>

#include "owcimomd/access/AccessControl.hpp"

namespace OwCimomd {

class ConnectionQuota {
public:
    static constexpr size_t MAX_STRANGERS = 64;

    /// `all`: connections at once.
    explicit ConnectionQuota(size_t all) noexcept;
    ConnectionQuota(const ConnectionQuota&) = delete;
    ConnectionQuota& operator=(const ConnectionQuota&) = delete;

    /// Counts as one connection for as long as it lives.
    using Slot = std::shared_ptr<void>;
    /// Null when the user has no connection left. The quota must outlive the slot.
    [[nodiscard]] Slot take(const User& user, bool isStranger);

private:
    bool isFree(const User& user, bool isStranger) const;
    void giveBack(uid_t uid, bool isStranger) noexcept;

    size_t m_all;
    size_t m_forRoot;
    size_t m_perUser;
    size_t m_taken = 0;
    size_t m_strangers = 0;
    std::map<uid_t, size_t> m_users;
};

}  // namespace OwCimomd
