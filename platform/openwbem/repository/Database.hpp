// SPDX-License-Identifier: Apache-2.0
//
// The repository file as a database: opening it with all checks, the unit of work, prepared
// statements, and the one place where SQLite's failures become ours (DatabaseError.cpp).
#pragma once

#include <memory>
#include <optional>
#include <unordered_map>

#include "openwbem/model/CIMException.hpp"
#include "openwbem/repository/RepositoryDirectory.hpp"
#include "openwbem/repository/RepositoryUse.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace OpenWBEM {

class Database {
public:
    /// Opens the file in that directory. Throws CIMException FAILED that names the path and the
    /// remedy.
    explicit Database(const String& directory, RepositoryUse use = RepositoryUse::UNIT_OF_WORK);
    /// Rolls back.
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    static void create(const String& directory);

    /// Starts a transaction that reads: all statements up to endRead() see one state of the file,
    /// and it is locked once for all of them. False when it is locked already, for longer.
    [[nodiscard]] bool beginRead();
    void endRead() noexcept;
    /// Starts the unit of work unless it has been. False when it was rolled back by a failure: then
    /// there is nothing to write to, and the caller does nothing.
    [[nodiscard]] bool beginWrite();
    /// Starts a unit of work that keeps everybody else from reading, too. There is none yet.
    void hold();
    /// Whether hasChangedElsewhere() will tell of a unit of work that was rolled back.
    bool wasRolledBackSinceAsked() const noexcept { return m_rolledBackSinceAsked; }
    bool inUnit() const noexcept { return m_unit == Unit::OPEN; }
    bool isServed() const noexcept { return m_use == RepositoryUse::SERVED; }
    /// Commits the unit of work. Durable, except while the file is served: then sync() makes it so.
    /// Throws CIMException FAILED, and again at each further call, when it has failed or was rolled
    /// back by an earlier failure.
    void commit();
    /// Makes every unit that was committed while the file is served durable, by one sync of the
    /// write-ahead log; none when nothing was committed since the last one. Throws CIMException
    /// FAILED; then a later call tries again.
    void sync();
    /// Ends the unit of work as if it had not been. When `failed`, what it held counts as lost and
    /// the state is "rolled back"; otherwise a new unit may start.
    void rollBack(bool failed) noexcept;
    /// Ends the unit of work for good: as after a failure, there is nothing to write to any more.
    void abandon() noexcept;
    /// Changes made so far, for telling whether there were any since.
    int64_t changes() const noexcept;
    int64_t changesAtBegin() const noexcept { return m_changesAtBegin; }
    /// Brings a served file back into its plain form: everything in the one file, on the disk, and
    /// no lock. Throws CIMException FAILED; then the next opening does it.
    void endServing();
    /// The id of the row inserted last.
    int64_t lastInserted() const noexcept;

    /// Whether what was read before may be out of date: somebody else has written to the file, or a
    /// unit of work was rolled back. Tells each change once.
    bool hasChangedElsewhere();
    /// Gives back the pages that are kept in memory and not in use.
    void releaseMemory() noexcept;

private:
    friend class Statement;
    enum class Unit { NONE, OPEN, ROLLED_BACK };

    /// Throws for `code`; a unit of work that is open ends as rolled back.
    [[noreturn]] void fail(int code, const char* attempt);
    /// beginWrite() by that statement.
    bool begin(const char* sql);
    void execute(const char* sql, const char* attempt);
    sqlite3_stmt* prepare(const char* sql, unsigned flags);
    int64_t pragma(const char* sql);
    /// Throws for the result code of a step of the opening.
    [[noreturn]] void failOpening(int code);
    /// The header of the file. Read through the open file: opening it once more would drop this
    /// process's locks on it when it is closed. Empty when it cannot be read.
    String header();
    /// That the file is a repository, and nothing but that.
    void checkFormat();
    /// That the file which is locked now is still the one at its place: whoever replaces the
    /// repository holds it meanwhile, and what is written to the old one afterwards is lost.
    void checkPlace();
    bool isLogged();
    void mergeLeftLog();
    void startServing();
    /// Lets go of the lock that is held from one read to the next.
    void stopHolding();
    void closeConnection() noexcept;

    String m_path;  // of the directory, as the caller gave it
    String m_file;  // for people
    RepositoryDirectory m_directory;
    RepositoryUse m_use;
    sqlite3* m_db = nullptr;
    Unit m_unit = Unit::NONE;
    bool m_tunedForWriting = false;
    bool m_rolledBackSinceAsked = false;
    bool m_justBegun = false;
    bool m_reading = false;
    bool m_isDurable = true;
    int64_t m_dataVersion = 0;
    int64_t m_changesAtBegin = 0;
    /// By the address of their text; null while in use.
    std::unordered_map<const char*, sqlite3_stmt*> m_idle;
};

namespace DatabaseError {
/// Throws CIMException FAILED (std::bad_alloc when memory is short) for an SQLite result code.
[[noreturn]] void raise(int code, int systemError, const String& file, const char* attempt);
/// The same when opening failed: looks at the path and the file's header for what is wrong.
[[noreturn]] void raiseForOpening(int code, int systemError, const String& directory,
                                  const String& file, std::string_view header);
[[noreturn]] void raiseForNewerFormat(const String& file, int64_t version);
[[noreturn]] void raiseForForeignFile(const String& file);
[[noreturn]] void raiseForSchema(const String& file, const String& deviation);
}  // namespace DatabaseError

}  // namespace OpenWBEM
