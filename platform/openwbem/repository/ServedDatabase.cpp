// SPDX-License-Identifier: Apache-2.0
//
// The file while the daemon serves it: the file is locked from the opening to the end, and a commit
// costs no sync. A unit of work becomes permanent in these steps:
//  1. What it has changed is appended to the log of changes, by one write: the commit point. When
//     that fails, the transaction is rolled back, and the units that are in the log are carried out
//     again in a new one. Death leaves a log from which the next opening does the same.
//  2. When the log has grown to its limit, the transaction, which holds everything that is in the
//     log, gives the state another name and is committed, into SQLite's write-ahead log. From here
//     on the log of changes is of a state that was, and nobody reads it.
//  3. The next unit begins the log of changes anew, under the new name.
#include <sqlite3.h>

#include "blocxx/Format.hpp"
#include "openwbem/repository/ChangeStatements.hpp"
#include "openwbem/repository/Database.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "openwbem/repository/Statement.hpp"

namespace OpenWBEM {

using blocxx::Format;

namespace {

/// The log is merged into the file when it has grown to so many pages (16 MiB): often enough to
/// keep the end short, seldom enough that the syncs do not count.
constexpr const char* SERVING_PRAGMAS =
    "PRAGMA synchronous=NORMAL; PRAGMA wal_autocheckpoint=4096; PRAGMA cache_size=-32768;";

}  // namespace

/// Whether the file's header says that there is, or may be, a log beside it.
bool Database::isLogged() {
    const String begin = header();
    return !begin.empty() &&
           begin[RepositoryFormat::HEADER_READ_FORMAT_AT] == RepositoryFormat::LOGGED;
}

/// A daemon that was killed has left its log. What is in it was acknowledged, so it is merged into
/// the file before anything is read. One that was killed while it wrote the header that speaks of
/// no log has left a journal, which brings the header back that does.
void Database::mergeLeftLog() {
    if (!isLogged() && !m_directory.has("-journal")) {
        return;
    }
    execute("PRAGMA locking_mode=EXCLUSIVE", "opened");
    checkFormat();
    if (isLogged()) {
        takeUpChanges();
        endServing();
    } else {
        stopHolding();
    }
}

void Database::startServing() {
    execute("PRAGMA locking_mode=EXCLUSIVE", "opened");
    checkFormat();
    // The journal of the header's change must be gone for good before there is a log: a journal
    // that a power cut brings back would make the header deny the log beside it.
    execute("PRAGMA synchronous=EXTRA; PRAGMA journal_mode=WAL", "opened");
    if (!isLogged()) {
        OPENWBEM_THROW_CIM(FAILED, "The repository \"" + m_file +
                                       "\" cannot be opened: no log can be kept beside it");
    }
    execute(SERVING_PRAGMAS, "opened");
    // The log is opened, and the lock taken for good, by the first transaction.
    takeUpChanges();
    checkPlace();
}

void Database::takeUpChanges() {
    execute("BEGIN IMMEDIATE", "opened");
    m_changes = std::make_unique<ChangeLog>(m_directory.file(), m_file);
    if (const int rc = m_changes->open(); rc != SQLITE_OK) {
        failOpening(rc);
    }
    execute(RepositoryFormat::STATE_TABLE, "written");
    replayChanges();
    // Otherwise the transaction goes on as if nobody had died: there may be no room to commit it.
    if (m_changes->state() == 0) {
        commitTransaction();
    }
}

void Database::replayChanges() {
    int64_t state = 0;
    {
        Statement query(*this, "SELECT name FROM state");
        state = query.step() ? query.number(0) : 0;
    }
    ChangeReplay replay(m_db);
    int rc = m_changes->read(static_cast<uint64_t>(state), [&](std::string_view unit) {
        if (const int failure = replay.apply(unit); failure != SQLITE_OK) {
            OPENWBEM_THROW_CIM(
                FAILED, Format("The changes that are logged in \"%1\" cannot be made to the "
                               "repository \"%2\": %3; put a backup of both back, or move the log "
                               "away to do without them",
                               m_changes->path(), m_file, sqlite3_errstr(failure)));
        }
    });
    if (rc != SQLITE_OK) {
        DatabaseError::raise(rc, 0, m_changes->path(), "read");
    }
}

bool Database::hasLostUnits() const noexcept {
    return m_changes && m_changes->hasUnits() && sqlite3_get_autocommit(m_db) != 0;
}

void Database::restoreUnits() {
    execute("BEGIN IMMEDIATE", "written");
    const sqlite3_int64 end = m_changes->end();
    try {
        replayChanges();
        if (m_changes->end() != end) {
            DatabaseError::raise(SQLITE_IOERR_DATA, 0, m_changes->path(), "read");
        }
    } catch (...) {
        // Still lost: it is tried again with the next operation.
        m_changes->setEnd(end);
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void Database::commitServed() {
    if (m_changes->isUnitEmpty()) {
        return;
    }
    if (m_changes->isEnough()) {
        commitTransaction();
    } else if (const int rc = m_changes->append(); rc != SQLITE_OK) {
        fail(rc, "written");
    }
}

void Database::commitTransaction() {
    int64_t state = 0;
    // 0 is the state without a name.
    while (state == 0) {
        sqlite3_randomness(sizeof state, &state);
    }
    execute(Format("REPLACE INTO state VALUES (1, %1)", state).c_str(), "written");
    execute("COMMIT", "written");
    m_changes->restart(static_cast<uint64_t>(state));
}

void Database::noteChange(sqlite3_stmt* statement, const BoundValues& values, const char* sql) {
    if (m_changes && m_unit == Unit::OPEN && sqlite3_stmt_readonly(statement) == 0) {
        // What could not be carried out again must not be acknowledged.
        if (ChangeStatements::find(sql) == nullptr) {
            fail(SQLITE_MISUSE, "written");
        }
        values.appendTo(m_changes->unit(), sql);
    }
}

// 0. The transaction is committed, the state loses its name, both are synced, and the log of
// changes
//    is removed. A crash between the steps leaves a log of a state that was.
// 1. The log is synced, its pages are written to the file, and the file is synced. A crash before
//    the end of this leaves the log, from which the next opening does it again.
// 2. The log is removed and the header is written to say that there is none. A crash between the
//    two leaves a header that speaks of a log that is not there, which counts as an empty one.
//    One while the header is written leaves a journal that brings that header back.
// 3. With the first read after the change of the locking mode the lock goes.
void Database::endServing() {
    if (sqlite3_get_autocommit(m_db) == 0) {
        commitTransaction();
    }
    execute("PRAGMA synchronous=EXTRA", "written");
    // Its end syncs what was committed before, too.
    execute("DROP TABLE state", "written");
    const std::unique_ptr<ChangeLog> ended = std::move(m_changes);
    if (const int rc = ended->remove(); rc != SQLITE_OK) {
        DatabaseError::raise(rc, 0, ended->path(), "written");
    }
    execute("PRAGMA journal_mode=DELETE", "written");
    if (isLogged()) {
        OPENWBEM_THROW_CIM(
            FAILED, "The repository \"" + m_file + "\" cannot be written: its log is in use");
    }
    stopHolding();
}

void Database::stopHolding() {
    execute("PRAGMA locking_mode=NORMAL", "opened");
    pragma("PRAGMA user_version");
}

}  // namespace OpenWBEM
