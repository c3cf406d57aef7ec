// SPDX-License-Identifier: Apache-2.0
//
// Limits the memory of the requests that are being received. A request is as large as its sender
// says, so all of them together have a limit, of which one user gets a quarter. root has none:
// nobody else may keep it from being served.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <memory>

namespace OwCimomd {

class RequestBudget {
public:
    /// `maxRequest`: the limit of one request, in bytes. It is also one user's share, so that the
    /// largest request of each of four users fits.
    explicit RequestBudget(size_t maxRequest) noexcept : m_maxRequest(maxRequest) {}
    RequestBudget(const RequestBudget&) = delete;
    RequestBudget& operator=(const RequestBudget&) = delete;

    size_t maxRequest() const noexcept { return m_maxRequest; }

    /// Counts as the memory of a request for as long as it lives.
    using Share = std::shared_ptr<void>;
    /// Null when the user cannot have that many bytes now. The budget must outlive the share.
    [[nodiscard]] Share take(uid_t user, size_t bytes);

private:
    void giveBack(uid_t user, size_t bytes) noexcept;

    size_t m_maxRequest;
    size_t m_taken = 0;
    std::map<uid_t, size_t> m_users;
};

}  // namespace OwCimomd
