// SPDX-License-Identifier: Apache-2.0
//
// A connection to the repository file: opens it, checks that it is a repository, and runs
// statements. Transactions: see UnitOfWork.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <unordered_map>

#include "openwbem/model/CIMException.hpp"
#include "openwbem/repository/RepositoryDirectory.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace OpenWBEM {

using blocxx::String;

class Connection {
public:
    /// Opens the file in that directory without reading its content. All members throw CIMException
    /// FAILED that names the path and the remedy.
    explicit Connection(const String& directory);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Throws unless the file is a repository of the present format with exactly its schema.
    void checkFormat(RepositoryFormat::KnownFormats known = RepositoryFormat::KNOWN);
    /// The same for any known format. Returns its number.
    int32_t checkKnownFormat(RepositoryFormat::KnownFormats known = RepositoryFormat::KNOWN);
    /// Throws unless the open file is still the one at its path. Whoever replaces the repository
    /// holds it meanwhile; changes written to the old file afterwards would be lost.
    void checkPlace();
    /// The header of the file; empty when it cannot be read. It is read through the open file:
    /// closing a second descriptor would drop this process's locks.
    String header();

    /// `attempt` completes "cannot be ..." in the message of a failure.
    void execute(const char* sql, const char* attempt);
    /// Reads a number without keeping the statement.
    int64_t pragma(const char* sql);
    /// Runs the action of onFailure(), then throws for the SQLite result code `code`.
    [[noreturn]] void fail(int code, const char* attempt);
    /// Closes the connection, then throws for the result code of a step of opening.
    [[noreturn]] void failOpening(int code);
    /// Sets what is done at each failure before the exception is thrown.
    void onFailure(std::function<void()> action) { m_onFailure = std::move(action); }

    /// The number of rows changed so far.
    int64_t changes() const noexcept;
    /// The id of the row inserted last.
    int64_t lastInserted() const noexcept;
    /// Frees cached pages that are not in use.
    void releaseMemory() noexcept;

    sqlite3* raw() const noexcept { return m_db; }
    const RepositoryDirectory& directory() const noexcept { return m_directory; }
    /// The path of the file, for people.
    const String& file() const noexcept { return m_file; }

private:
    friend class Statement;

    sqlite3_stmt* prepare(const char* sql);
    void close() noexcept;
    /// Whether the file is large enough for so many bytes of rows.
    bool canHold(int64_t bytes) {
        if (bytes > m_amount) {
            m_amount = std::max(m_amount, amount());
        }
        return bytes <= m_amount;
    }
    int64_t amount() const noexcept;

    String m_path;  // of the directory, as the caller gave it
    String m_file;
    RepositoryDirectory m_directory;
    std::function<void()> m_onFailure = [] {};
    sqlite3* m_db = nullptr;
    /// The file holds at most so many bytes of rows. Fewer than the first value are never checked.
    int64_t m_amount = int64_t{1} << 20U;
    /// Prepared statements by the address of their text; null while in use.
    std::unordered_map<const char*, sqlite3_stmt*> m_idle;
};

}  // namespace OpenWBEM
