// SPDX-License-Identifier: Apache-2.0
//
// A statement that has changed something, as bytes: its text and what was bound. Carried out again
// on the same state of a repository it makes the same change.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "blocxx/String.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace OpenWBEM {

/// What is bound to a statement. Holds views.
class BoundValues {
public:
    void add(int64_t value) noexcept { next() = {'i', value, {}}; }
    void addText(std::string_view text) noexcept { next() = {'t', 0, text}; }
    void addBlob(std::string_view bytes) noexcept { next() = {'b', 0, bytes}; }

    /// Appends the statement with these values.
    void appendTo(blocxx::String& record, std::string_view sql) const;

private:
    struct Value {
        char kind;
        int64_t number;
        std::string_view bytes;
    };
    static constexpr size_t MOST = 8;

    Value& next() noexcept { return m_values[m_count < MOST ? m_count++ : MOST - 1]; }

    std::array<Value, MOST> m_values;
    size_t m_count = 0;
};

/// Carries recorded statements out again. They may come from whoever may write the file, so that
/// nothing is accepted but a repository's own statements (ChangeStatements.hpp).
class ChangeReplay {
public:
    explicit ChangeReplay(sqlite3* database);
    ~ChangeReplay();
    ChangeReplay(const ChangeReplay&) = delete;
    ChangeReplay& operator=(const ChangeReplay&) = delete;

    /// The statements of one unit of work, one after the other. An SQLite result code.
    int apply(std::string_view records);

private:
    int prepared(std::string_view sql, sqlite3_stmt*& statement);
    int applyOne(std::string_view& records);

    sqlite3* m_database;
    std::unordered_map<const char*, sqlite3_stmt*> m_statements;
};

}  // namespace OpenWBEM
