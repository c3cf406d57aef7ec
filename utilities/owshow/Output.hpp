// SPDX-License-Identifier: Apache-2.0
//
// What owshow prints, and how much of it may be in memory.
#pragma once

#include <cstdint>
#include <functional>

#include "blocxx/String.hpp"

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

/// `text` on one line: line feeds, carriage returns and tabs are written out as "\n", "\r", "\t".
String oneLine(std::string_view text);

/// Counts what is collected from a repository, whose size nobody vouches for.
class Budget {
public:
    static constexpr size_t LIMIT = size_t{256} << 20U;

    explicit Budget(size_t limit = LIMIT) : m_left(limit) {}
    /// Accounts for a collected text. Throws Exception when all texts together exceed the limit.
    void take(std::string_view text);

private:
    size_t m_left;
};

}  // namespace OwShow
