// SPDX-License-Identifier: Apache-2.0
//
// Who may have one more connection. Descriptors are few and any local user can connect, so nobody
// may take them all: some stay free for root, a user has a bounded share of the rest, and users who
// may not connect, who only wait to hear that, have a few between them.
#pragma once

#include <map>
#include <memory>

#include "owcimomd/access/AccessControl.hpp"

namespace OwCimomd {

class Places {
public:
    static constexpr size_t MAX_STRANGERS = 64;

    /// So many connections at once.
    explicit Places(size_t all) noexcept;
    Places(const Places&) = delete;
    Places& operator=(const Places&) = delete;

    /// A connection's place, given back with it.
    class Place;
    /// Null when that user gets none now. The places must outlive it.
    [[nodiscard]] std::shared_ptr<Place> take(const User& user, bool isStranger);

private:
    bool isFree(const User& user, bool isStranger) const;

    size_t m_all;
    size_t m_forRoot;
    size_t m_perUser;
    size_t m_taken = 0;
    size_t m_strangers = 0;
    std::map<uid_t, size_t> m_users;
};

class Places::Place {
public:
    Place(Places& places, uid_t uid, bool isStranger);
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

private:
    Places& m_places;
    uid_t m_uid;
    bool m_isStranger;
};

}  // namespace OwCimomd
