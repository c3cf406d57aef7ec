// SPDX-License-Identifier: Apache-2.0
//
// A connection to the repository file: opening it, the checks of what it is, and its statements.
// Knows nothing of units of work.
#pragma once

#include <functional>
#include <unordered_map>

#include "openwbem/model/CIMException.hpp"
#include "openwbem/repository/RepositoryDirectory.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace OpenWBEM {

using blocxx::String;

class Connection {
public:
    /// Opens the file in that directory; of what is in it, nothing is looked at. Throws
    /// CIMException FAILED that names the path and the remedy, as all that follows does.
    explicit Connection(const String& directory);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// That the file is a repository, and nothing but that.
    void checkFormat();
    /// That the file which is locked now is still the one at its place: whoever replaces the
    /// repository holds it meanwhile, and what is written to the old one afterwards is lost.
    void checkPlace();
    /// The header of the file. Read through the open file: opening it once more would drop this
    /// process's locks on it when it is closed. Empty when it cannot be read.
    String header();

    /// `attempt` completes "cannot be ..." in the message of a failure.
    void execute(const char* sql, const char* attempt);
    /// Reads a number without keeping the statement.
    int64_t pragma(const char* sql);
    /// Throws for `code`, after what onFailure() has set.
    [[noreturn]] void fail(int code, const char* attempt);
    /// Closes the connection and throws for the result code of a step of the opening.
    [[noreturn]] void failOpening(int code);
    /// What is done at each failure, before the exception is thrown.
    void onFailure(std::function<void()> action) { m_onFailure = std::move(action); }

    /// Changes made so far, for telling whether there were any since.
    int64_t changes() const noexcept;
    /// The id of the row inserted last.
    int64_t lastInserted() const noexcept;
    /// Gives back the pages that are kept in memory and not in use.
    void releaseMemory() noexcept;

    sqlite3* raw() const noexcept { return m_db; }
    const RepositoryDirectory& directory() const noexcept { return m_directory; }
    /// The path of the file, for people.
    const String& file() const noexcept { return m_file; }

private:
    friend class Statement;

    sqlite3_stmt* prepare(const char* sql);
    void close() noexcept;

    String m_path;  // of the directory, as the caller gave it
    String m_file;
    RepositoryDirectory m_directory;
    std::function<void()> m_onFailure = [] {};
    sqlite3* m_db = nullptr;
    /// By the address of their text; null while in use.
    std::unordered_map<const char*, sqlite3_stmt*> m_idle;
};

}  // namespace OpenWBEM
