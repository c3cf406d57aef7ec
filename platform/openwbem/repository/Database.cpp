// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/Database.hpp"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <utility>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "openwbem/repository/CIMRepository.hpp"
#include "openwbem/repository/CheckedFile.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "openwbem/repository/SchemaCheck.hpp"
#include "openwbem/repository/Statement.hpp"

namespace OpenWBEM {

using blocxx::Format;
namespace FileSystem = blocxx::FileSystem;

namespace {

// What the messages name is the file itself, whatever links stand on the way to its directory.
String resolved(const String& directory) {
    const std::unique_ptr<char, decltype(&std::free)> path(::realpath(directory.c_str(), nullptr),
                                                           &std::free);
    return path ? String(path.get()) : directory;
}

String fileIn(const String& directory) {
    return resolved(directory) + "/" + CIMRepository::FILE_NAME;
}

// EXTRA syncs the directory when the journal goes, so that a commit is permanent when it returns.
// The cache is large enough for what most runs write, so that pages are written once, at the end;
// its size bounds the memory.
constexpr const char* WRITING_PRAGMAS = "PRAGMA synchronous=EXTRA; PRAGMA cache_size=-8192;";

}  // namespace

Database::Database(const String& directory, RepositoryUse use)
    : m_path(directory), m_file(fileIn(directory)), m_directory(directory), m_use(use) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX |
                      SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
    int rc = sqlite3_open_v2(m_directory.file().c_str(), &m_db, flags, CheckedFile::layerName());
    if (rc == SQLITE_OK) {
        rc = SchemaCheck::confine(m_db);
    }
    if (rc != SQLITE_OK) {
        failOpening(rc);
    }
    try {
        if (m_use == RepositoryUse::SERVED) {
            startServing();
        } else {
            mergeLeftLog();
            checkFormat();
        }
    } catch (...) {
        closeConnection();
        throw;
    }
}

Database::~Database() {
    if (m_unit == Unit::OPEN) {
        rollBack(true);
    }
    closeConnection();
}

void Database::closeConnection() noexcept {
    for (auto& [sql, statement] : m_idle) {
        sqlite3_finalize(statement);
    }
    m_idle.clear();
    sqlite3_close(m_db);
    m_db = nullptr;
}

void Database::failOpening(int code) {
    const int systemError = m_db == nullptr ? 0 : sqlite3_system_errno(m_db);
    const String begin = header();
    closeConnection();
    DatabaseError::raiseForOpening(code, systemError, m_path, m_file, begin);
}

String Database::header() {
    sqlite3_file* file = nullptr;
    String bytes(RepositoryFormat::HEADER_SIZE, '\0');
    if (m_db != nullptr) {
        sqlite3_file_control(m_db, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    }
    const int rc =
        file == nullptr || file->pMethods == nullptr
            ? SQLITE_CANTOPEN
            : file->pMethods->xRead(file, bytes.data(), static_cast<int>(bytes.size()), 0);
    return rc == SQLITE_OK || rc == SQLITE_IOERR_SHORT_READ ? bytes : String();
}

/// Reads a number without keeping the statement.
int64_t Database::pragma(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    int rc = sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr);
    int64_t number = 0;
    if (rc == SQLITE_OK) {
        rc = sqlite3_step(statement);
        if (rc == SQLITE_ROW) {
            number = sqlite3_column_int64(statement, 0);
        }
    }
    sqlite3_finalize(statement);
    if (rc != SQLITE_ROW) {
        failOpening(rc);
    }
    return number;
}

void Database::checkFormat() {
    if (pragma("PRAGMA application_id") != RepositoryFormat::APPLICATION_ID) {
        DatabaseError::raiseForForeignFile(m_file);
    }
    const int64_t version = pragma("PRAGMA user_version");
    if (version > RepositoryFormat::VERSION) {
        DatabaseError::raiseForNewerFormat(m_file, version);
    }
    if (version != RepositoryFormat::VERSION) {
        DatabaseError::raiseForForeignFile(m_file);
    }
    String deviation;
    if (const int rc = SchemaCheck::compare(m_db, deviation); rc != SQLITE_OK) {
        failOpening(rc);
    }
    if (!deviation.empty()) {
        DatabaseError::raiseForSchema(m_file, deviation);
    }
}

void Database::checkPlace() {
    if (!m_directory.isAt(m_path)) {
        rollBack(true);
        OPENWBEM_THROW_CIM(
            FAILED, Format("The repository \"%1\" was replaced by another one while it was being "
                           "opened or used; nothing was changed in it. Try again",
                           m_file));
    }
}

void Database::releaseMemory() noexcept {
    sqlite3_db_release_memory(m_db);
}

bool Database::hasChangedElsewhere() {
    const bool rolledBack = std::exchange(m_rolledBackSinceAsked, false);
    if (m_use == RepositoryUse::SERVED) {
        return rolledBack;
    }
    // Inside a unit of work nobody else can write.
    if (m_unit == Unit::OPEN && !std::exchange(m_justBegun, false)) {
        return rolledBack;
    }
    Statement query(*this, "PRAGMA data_version");
    const int64_t version = query.step() ? query.number(0) : 0;
    return std::exchange(m_dataVersion, version) != version || rolledBack;
}

int64_t Database::changes() const noexcept {
    return sqlite3_total_changes64(m_db);
}

int64_t Database::lastInserted() const noexcept {
    return sqlite3_last_insert_rowid(m_db);
}

bool Database::beginRead() {
    // A served file is locked all the time.
    if (m_reading || m_unit == Unit::OPEN || m_use == RepositoryUse::SERVED) {
        return false;
    }
    Statement(*this, "BEGIN DEFERRED").run();
    m_reading = true;
    return true;
}

void Database::endRead() noexcept {
    if (!std::exchange(m_reading, false)) {
        return;
    }
    try {
        Statement(*this, "COMMIT").run();
    } catch (...) {
        // What was read has been checked already; only the lock must not stay.
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

bool Database::beginWrite() {
    return begin("BEGIN IMMEDIATE");
}

bool Database::begin(const char* sql) {
    if (m_unit != Unit::NONE) {
        return m_unit == Unit::OPEN;
    }
    endRead();
    if (!m_tunedForWriting && m_use == RepositoryUse::UNIT_OF_WORK) {
        execute(WRITING_PRAGMAS, "written");
        m_tunedForWriting = true;
    }
    execute(sql, "written");
    m_unit = Unit::OPEN;
    m_justBegun = true;
    m_changesAtBegin = changes();
    if (m_use == RepositoryUse::UNIT_OF_WORK) {
        checkPlace();
    }
    return true;
}

void Database::hold() {
    if (m_unit != Unit::NONE || !begin("BEGIN EXCLUSIVE")) {
        OPENWBEM_THROW_CIM(
            FAILED,
            Format("The repository \"%1\" cannot be held: a unit of work is open already", m_file));
    }
}

// The unit of work becomes permanent in these steps, all inside COMMIT:
//  1. The journal (the pages as they were) is synced, then its directory. A crash before leaves the
//     file as it was: nothing has been written to it.
//  2. The changed pages are written and the file is synced. A crash from here on leaves a hot
//     journal, from which the next opening puts the old pages back: the old state.
//  3. The journal is removed: the commit point. After a crash the next opening finds the new state.
//  4. The directory is synced. A power cut before may bring the journal back, and with it the whole
//     old state; after it the new state is permanent.
// A failure in 1 to 3 leaves the transaction open or SQLite has rolled it back; either way it is
// gone when this throws.
void Database::commit() {
    if (m_unit == Unit::NONE) {
        return;
    }
    if (m_unit == Unit::ROLLED_BACK) {
        OPENWBEM_THROW_CIM(FAILED, Format("The changes to the repository \"%1\" were rolled back "
                                          "by an earlier failure; there is nothing to store",
                                          m_file));
    }
    execute("COMMIT", "written");
    m_unit = Unit::NONE;
    m_isDurable = m_use == RepositoryUse::UNIT_OF_WORK;
}

void Database::rollBack(bool failed) noexcept {
    if (m_unit == Unit::OPEN) {
        m_rolledBackSinceAsked = m_rolledBackSinceAsked || changes() != m_changesAtBegin;
        if (sqlite3_get_autocommit(m_db) == 0) {
            sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        }
        if (failed) {
            // When pages had been written before, a failed write may leave the journal, from which
            // the next reader rolls back. Being that reader leaves the directory as it was.
            sqlite3_exec(m_db, "SELECT count(*) FROM sqlite_master", nullptr, nullptr, nullptr);
        }
        // Served operations are not one another's undo steps: the next one starts afresh.
        const bool isLost = failed && m_use == RepositoryUse::UNIT_OF_WORK;
        m_unit = isLost ? Unit::ROLLED_BACK : Unit::NONE;
    }
}

void Database::abandon() noexcept {
    rollBack(true);
    m_unit = Unit::ROLLED_BACK;
}

void Database::fail(int code, const char* attempt) {
    const int systemError = sqlite3_system_errno(m_db);
    rollBack(true);
    DatabaseError::raise(code, systemError, m_file, attempt);
}

void Database::execute(const char* sql, const char* attempt) {
    if (const int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr); rc != SQLITE_OK) {
        fail(rc, attempt);
    }
}

sqlite3_stmt* Database::prepare(const char* sql, unsigned flags) {
    sqlite3_stmt* statement = nullptr;
    const int rc = sqlite3_prepare_v3(m_db, sql, -1, flags, &statement, nullptr);
    if (rc != SQLITE_OK) {
        fail(rc, "read");
    }
    return statement;
}

}  // namespace OpenWBEM
