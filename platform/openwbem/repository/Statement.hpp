// SPDX-License-Identifier: Apache-2.0
//
// One use of a prepared statement: bind the parameters in order, then step through the rows. It is
// reset at the end of its scope, so only the transaction's lock remains. Bound data must outlive
// the statement.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "openwbem/repository/Connection.hpp"

namespace OpenWBEM {

class Statement {
public:
    /// `sql` is a string literal: its address identifies the prepared statement.
    Statement(Connection& connection, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& bind(int64_t value);
    Statement& bind(std::string_view text);
    Statement& bindBlob(std::string_view bytes);

    /// Whether there is a (further) row. More rows than the file can hold are damage: pages that
    /// were linked more than once by a foreign hand would go on for ever.
    [[nodiscard]] bool step();
    /// For statements without rows.
    void run();
    /// For insertions: false when a row with that key is there already.
    [[nodiscard]] bool insert();

    /// For rows that an undamaged file cannot have. Throws CIMException FAILED.
    [[noreturn]] void failForDamage();

    int64_t number(int column) const noexcept;
    // Valid until the next step.
    std::string_view text(int column) const noexcept;
    std::span<const std::byte> blob(int column) const noexcept;

private:
    /// Throws CIMException FAILED unless the result code is SQLITE_OK.
    Statement& checked(int rc);
    /// How many bytes the current row takes in the file at least.
    int64_t sizeOfRow() const noexcept;

    Connection& m_connection;
    const char* m_sql;
    sqlite3_stmt* m_statement;
    int m_bound = 0;
    int64_t m_delivered = 0;  // bytes, as sizeOfRow()
};

}  // namespace OpenWBEM
