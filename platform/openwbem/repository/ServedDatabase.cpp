// SPDX-License-Identifier: Apache-2.0
//
// The file while the daemon serves it: changes go to a write-ahead log beside it, so that a commit
// costs no sync, and the file is locked from the opening to the end.
#include <sqlite3.h>

#include <array>

#include "blocxx/FileSystem.hpp"
#include "openwbem/repository/Database.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"

namespace OpenWBEM {

namespace FileSystem = blocxx::FileSystem;

namespace {

/// The log is merged into the file when it has grown to so many pages (16 MiB): often enough to
/// keep the end short, seldom enough that the syncs do not count.
constexpr const char* SERVING_PRAGMAS =
    "PRAGMA synchronous=NORMAL; PRAGMA wal_autocheckpoint=4096; PRAGMA cache_size=-32768; "
    "PRAGMA temp_store=MEMORY;";

}  // namespace

/// Whether the file's header says that there is, or may be, a log beside it. Read through the open
/// file: opening it once more would drop this process's locks on it when it is closed.
bool Database::isLogged() {
    sqlite3_file* file = nullptr;
    std::array<unsigned char, RepositoryFormat::HEADER_SIZE> header{};
    sqlite3_file_control(m_db, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    return file != nullptr && file->pMethods != nullptr &&
           file->pMethods->xRead(file, header.data(), header.size(), 0) == SQLITE_OK &&
           header[RepositoryFormat::HEADER_READ_FORMAT_AT] == RepositoryFormat::LOGGED;
}

/// A daemon that was killed has left its log. What is in it was acknowledged, so it is merged into
/// the file before anything is read. One that was killed while it wrote the header that speaks of
/// no log has left a journal, which brings the header back that does.
void Database::mergeLeftLog() {
    if (!isLogged() && !FileSystem::exists(m_file + "-journal")) {
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
    // The log is opened, and the lock taken for good, by the first transaction.
    execute("BEGIN IMMEDIATE; COMMIT", "opened");
}

// 1. The log is synced, its pages are written to the file, and the file is synced. A crash before
//    the end of this leaves the log, from which the next opening does it again.
// 2. The log is removed and the header is written to say that there is none. A crash between the
//    two leaves a header that speaks of a log that is not there, which counts as an empty one.
//    One while the header is written leaves a journal that brings that header back.
// 3. With the first read after the change of the locking mode the lock goes.
void Database::endServing() {
    execute("PRAGMA synchronous=EXTRA", "written");
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
