// SPDX-License-Identifier: Apache-2.0
//
// What owshow prints, and how much of it may be in memory.
#pragma once

#include <functional>

#include "blocxx/String.hpp"
#include "utilities/common/Budget.hpp"

namespace OwShow {

using blocxx::String;

/// Receives the printed text, piece by piece.
using Sink = std::function<void(std::string_view)>;

/// Standard output, buffered. Writes out what a terminal could act on when it is one, as the
/// listings of fennik do.
class Output {
public:
    /// Throws IOException when standard output cannot be written.
    void write(std::string_view text);
    /// Writes what is in the buffer. Throws as write().
    void finish();

private:
    String m_buffer;
};

/// For what is collected from a repository to be sorted.
class Budget : public OwUtilities::Budget {
public:
    static constexpr size_t LIMIT = size_t{256} << 20U;

    explicit Budget(size_t limit = LIMIT)
        : OwUtilities::Budget(
              "there is more to sort than fits in memory. Name a class or a product, or use --mof, "
              "which sorts nothing",
              limit) {}
};

}  // namespace OwShow
