// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/Statement.hpp"

#include <sqlite3.h>

namespace OpenWBEM {

Statement::Statement(Connection& connection, const char* sql)
    : m_connection(connection), m_sql(sql), m_statement(nullptr) {
    auto& idle = connection.m_idle[sql];
    if (idle != nullptr) {
        m_statement = std::exchange(idle, nullptr);
    } else {
        m_statement = connection.prepare(sql);
    }
}

Statement::~Statement() {
    sqlite3_reset(m_statement);
    auto& idle = m_connection.m_idle[m_sql];
    if (idle == nullptr) {
        idle = m_statement;
    } else {
        sqlite3_finalize(m_statement);
    }
}

Statement& Statement::checked(int rc) {
    if (rc != SQLITE_OK) {
        m_connection.fail(rc, "used");
    }
    return *this;
}

Statement& Statement::bind(int64_t value) {
    return checked(sqlite3_bind_int64(m_statement, ++m_bound, value));
}

// A null pointer would bind NULL.

Statement& Statement::bind(std::string_view text) {
    return checked(sqlite3_bind_text64(m_statement, ++m_bound, text.empty() ? "" : text.data(),
                                       text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

Statement& Statement::bindBlob(std::string_view bytes) {
    return checked(sqlite3_bind_blob64(m_statement, ++m_bound, bytes.empty() ? "" : bytes.data(),
                                       bytes.size(), SQLITE_STATIC));
}

int64_t Statement::sizeOfRow() const noexcept {
    constexpr int64_t LEAST = 4;
    // Of a join, the last column is of the table whose rows come once each.
    const int last = sqlite3_column_count(m_statement) - 1;
    const int type = sqlite3_column_type(m_statement, last);
    const bool hasBytes = type == SQLITE_TEXT || type == SQLITE_BLOB;
    return LEAST + (hasBytes ? sqlite3_column_bytes(m_statement, last) : 0);
}

bool Statement::step() {
    const int rc = sqlite3_step(m_statement);
    if (rc == SQLITE_DONE) {
        return false;
    }
    if (rc == SQLITE_ROW) {
        m_delivered += sizeOfRow();
        if (m_connection.canHold(m_delivered)) {
            return true;
        }
        failForDamage();
    }
    const bool reading = sqlite3_stmt_readonly(m_statement) != 0;
    // Before a rollback all statements must have ended.
    sqlite3_reset(m_statement);
    m_connection.fail(rc, reading ? "read" : "written");
}

void Statement::failForDamage() {
    sqlite3_reset(m_statement);
    m_connection.fail(SQLITE_CORRUPT, "read");
}

void Statement::run() {
    while (step()) {
    }
}

bool Statement::insert() {
    const int rc = sqlite3_step(m_statement);
    if (rc == SQLITE_CONSTRAINT_UNIQUE || rc == SQLITE_CONSTRAINT_PRIMARYKEY) {
        sqlite3_reset(m_statement);
        return false;
    }
    if (rc != SQLITE_DONE) {
        sqlite3_reset(m_statement);
        m_connection.fail(rc, "written");
    }
    return true;
}

int64_t Statement::number(int column) const noexcept {
    return sqlite3_column_int64(m_statement, column);
}

std::string_view Statement::text(int column) const noexcept {
    const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    const auto size = static_cast<size_t>(sqlite3_column_bytes(m_statement, column));
    return data == nullptr ? std::string_view() : std::string_view(data, size);
}

std::span<const std::byte> Statement::blob(int column) const noexcept {
    const auto* data = static_cast<const std::byte*>(sqlite3_column_blob(m_statement, column));
    return {data, static_cast<size_t>(sqlite3_column_bytes(m_statement, column))};
}

}  // namespace OpenWBEM
