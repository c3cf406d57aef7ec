// SPDX-License-Identifier: Apache-2.0
//
// The file while the daemon serves it: locked from the opening to the end, with SQLite's
// write-ahead log beside it. A commit appends the changed pages to the log and syncs nothing: it
// outlives the death of the process. sync() makes it outlive that of the machine. A unit that was
// not written to its end is none, and the units before it are there; whatever becomes of one that
// fails, SQLite takes back that one only.
#include <sqlite3.h>

#include "openwbem/repository/Database.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"

namespace OpenWBEM {

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
    // The first transaction opens the log and takes the lock for good.
    execute("BEGIN IMMEDIATE; COMMIT", "opened");
    checkPlace();
    // A log that a killed daemon has left may hold units, and have a name, that no sync has put on
    // the disk.
    m_isDurable = false;
    if (!m_directory.sync()) {
        failOpening(SQLITE_IOERR_DIR_FSYNC);
    }
}

void Database::sync() {
    if (m_isDurable) {
        return;
    }
    sqlite3_file* log = nullptr;
    sqlite3_file_control(m_db, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    const int rc = log == nullptr || log->pMethods == nullptr
                       ? SQLITE_CANTOPEN
                       : log->pMethods->xSync(log, SQLITE_SYNC_NORMAL);
    if (rc != SQLITE_OK) {
        DatabaseError::raise(rc, sqlite3_system_errno(m_db), m_file, "written");
    }
    m_isDurable = true;
}

// 1. The log is synced, its pages are written to the file, and the file is synced. A crash before
//    the end of this leaves the log, from which the next opening does it again.
// 2. The log is removed and the header is written to say that there is none. A crash between the
//    two leaves a header that speaks of a log that is not there, which counts as an empty one.
//    One while the header is written leaves a journal that brings that header back.
// 3. With the first read after the change of the locking mode the lock goes.
void Database::endServing() {
    execute("PRAGMA synchronous=EXTRA; PRAGMA journal_mode=DELETE", "written");
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
