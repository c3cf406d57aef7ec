// SPDX-License-Identifier: Apache-2.0
//
// Memory for the requests that are being received. They are as large as their senders say, so what
// all of them take together has an end, of which one user gets a quarter. root gets what it asks
// for: nobody else may keep it from being served.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <memory>

namespace OwCimomd {

class RequestBudget {
public:
    /// One request's limit, in bytes. It is also one user's share, so that there is room for the
    /// largest one of each.
    explicit RequestBudget(size_t maxRequest) noexcept : m_maxRequest(maxRequest) {}
    RequestBudget(const RequestBudget&) = delete;
    RequestBudget& operator=(const RequestBudget&) = delete;

    size_t maxRequest() const noexcept { return m_maxRequest; }

    /// What a request takes, given back with it.
    class Part;
    /// Null when the user cannot have so much now. The budget must outlive it.
    [[nodiscard]] std::shared_ptr<Part> take(uid_t user, size_t bytes);

private:
    static constexpr size_t SHARES = 4;

    size_t m_maxRequest;
    size_t m_taken = 0;
    std::map<uid_t, size_t> m_users;
};

class RequestBudget::Part {
public:
    Part(RequestBudget& budget, uid_t user, size_t bytes);
    ~Part();
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;

private:
    RequestBudget& m_budget;
    uid_t m_user;
    size_t m_bytes;
};

}  // namespace OwCimomd
