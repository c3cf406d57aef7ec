// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/WriteAheadLog.hpp"

#include <sqlite3.h>

#include "openwbem/repository/DatabaseError.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"

namespace OpenWBEM {

namespace {

/// The log is merged into the file when it has this many pages (16 MiB): often enough that end() is
/// quick, rarely enough that the syncs do not matter.
constexpr const char* SERVING_PRAGMAS =
    "PRAGMA synchronous=NORMAL; PRAGMA wal_autocheckpoint=4096; PRAGMA cache_size=-16384;";

/// Whether the file's header says that there is, or may be, a log beside it.
bool isLogged(Connection& connection) {
    const String begin = connection.header();
    return !begin.empty() &&
           begin[RepositoryFormat::HEADER_READ_FORMAT_AT] == RepositoryFormat::LOGGED;
}

/// Releases the lock that is held between reads.
void releaseLock(Connection& connection) {
    connection.execute("PRAGMA locking_mode=NORMAL", "opened");
    connection.pragma("PRAGMA user_version");
}

// 1. The log is synced, its pages are written to the file, and the file is synced. A crash before
//    the end of this leaves the log, from which the next opening does it again.
// 2. The log is removed and the header is written to say that there is none. A crash between the
//    two leaves a header that names a missing log, which counts as an empty one. A crash while the
//    header is written leaves a journal that restores that header.
// 3. The first read after the change of the locking mode releases the lock.
void endLog(Connection& connection) {
    connection.execute("PRAGMA synchronous=EXTRA; PRAGMA journal_mode=DELETE", "written");
    if (isLogged(connection)) {
        OPENWBEM_THROW_CIM(FAILED, "The repository \"" + connection.file() +
                                       "\" cannot be written: its log is in use");
    }
    releaseLock(connection);
}

}  // namespace

WriteAheadLog::WriteAheadLog(Connection& connection) : m_connection(connection) {
    connection.execute("PRAGMA locking_mode=EXCLUSIVE", "opened");
    connection.checkFormat();
    // The removal of the header's journal must be durable before there is a log: if a power cut
    // brought back the journal, the header would deny the log beside it.
    connection.execute("PRAGMA synchronous=EXTRA; PRAGMA journal_mode=WAL", "opened");
    if (!isLogged(connection)) {
        OPENWBEM_THROW_CIM(FAILED, "The repository \"" + connection.file() +
                                       "\" cannot be opened: no log can be kept beside it");
    }
    connection.execute(SERVING_PRAGMAS, "opened");
    // The first transaction opens the log and takes the lock, which is then held all the time.
    connection.execute("BEGIN IMMEDIATE; COMMIT", "opened");
    connection.checkPlace();
    if (!connection.directory().sync()) {
        connection.failOpening(SQLITE_IOERR_DIR_FSYNC);
    }
}

void WriteAheadLog::mergeLeftover(Connection& connection) {
    if (!isLogged(connection) && !connection.directory().has("-journal")) {
        return;
    }
    connection.execute("PRAGMA locking_mode=EXCLUSIVE", "opened");
    connection.checkKnownFormat();
    if (isLogged(connection)) {
        endLog(connection);
    } else {
        releaseLock(connection);
    }
}

void WriteAheadLog::sync() {
    if (m_isDurable) {
        return;
    }
    sqlite3_file* log = nullptr;
    sqlite3_file_control(m_connection.raw(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    const int rc = log == nullptr || log->pMethods == nullptr
                       ? SQLITE_CANTOPEN
                       : log->pMethods->xSync(log, SQLITE_SYNC_NORMAL);
    if (rc != SQLITE_OK) {
        DatabaseError::raise(rc, sqlite3_system_errno(m_connection.raw()), m_connection.file(),
                             "written");
    }
    m_isDurable = true;
}

void WriteAheadLog::end() {
    endLog(m_connection);
}

}  // namespace OpenWBEM
