// SPDX-License-Identifier: Apache-2.0
//
// Bounds what a utility holds in memory of a repository, whose size nobody vouches for.
#pragma once

#include <string_view>

#include "blocxx/Exception.hpp"

namespace OwUtilities {

/// There is more than fits into a budget. The message is the budget's.
BLOCXX_DECLARE_EXCEPTION(Excess)

class Budget {
public:
    /// `excess` tells the user what there is too much of, and what to do.
    Budget(const char* excess, size_t limit) : m_excess(excess), m_left(limit) {}
    /// Accounts for a text that is kept. Throws ExcessException when all texts together, with what
    /// each takes beside its characters, exceed the limit.
    void take(std::string_view text);

private:
    const char* m_excess;
    size_t m_left;
};

}  // namespace OwUtilities
