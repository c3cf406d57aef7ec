// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/Connection.hpp"

#include <sqlite3.h>

#include <cstdlib>
#include <memory>

#include "blocxx/Format.hpp"
#include "openwbem/repository/CIMRepository.hpp"
#include "openwbem/repository/CheckedFile.hpp"
#include "openwbem/repository/DatabaseError.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "openwbem/repository/SchemaCheck.hpp"

namespace OpenWBEM {

namespace {

// Messages name the file itself, without the links on the path to its directory.
String resolved(const String& directory) {
    const std::unique_ptr<char, decltype(&std::free)> path(::realpath(directory.c_str(), nullptr),
                                                           &std::free);
    return path ? String(path.get()) : directory;
}

String fileIn(const String& directory) {
    return resolved(directory) + "/" + CIMRepository::FILE_NAME;
}

}  // namespace

Connection::Connection(const String& directory)
    : m_path(directory), m_file(fileIn(directory)), m_directory(directory) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX |
                      SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
    int rc = sqlite3_open_v2(m_directory.file().c_str(), &m_db, flags, CheckedFile::layerName());
    if (rc == SQLITE_OK) {
        rc = SchemaCheck::confine(m_db);
    }
    if (rc != SQLITE_OK) {
        failOpening(rc);
    }
}

Connection::~Connection() {
    close();
}

void Connection::close() noexcept {
    for (auto& [sql, statement] : m_idle) {
        sqlite3_finalize(statement);
    }
    m_idle.clear();
    sqlite3_close(m_db);
    m_db = nullptr;
}

void Connection::failOpening(int code) {
    const int systemError = m_db == nullptr ? 0 : sqlite3_system_errno(m_db);
    const String begin = header();
    close();
    DatabaseError::raiseForOpening(code, systemError, m_path, m_file, begin);
}

String Connection::header() {
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

int64_t Connection::pragma(const char* sql) {
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

void Connection::checkFormat(RepositoryFormat::KnownFormats known) {
    if (const int32_t number = checkKnownFormat(known); number != known.back().number) {
        DatabaseError::raiseForOlderFormat(m_file, number);
    }
}

int32_t Connection::checkKnownFormat(RepositoryFormat::KnownFormats known) {
    if (pragma("PRAGMA application_id") != RepositoryFormat::APPLICATION_ID) {
        DatabaseError::raiseForForeignFile(m_file);
    }
    const int64_t version = pragma("PRAGMA user_version");
    if (version > known.back().number) {
        DatabaseError::raiseForNewerFormat(m_file, version);
    }
    const auto format = std::find_if(known.begin(), known.end(),
                                     [&](const auto& one) { return one.number == version; });
    if (format == known.end()) {
        DatabaseError::raiseForForeignFile(m_file);
    }
    String deviation;
    if (const int rc = SchemaCheck::compare(m_db, format->schema, deviation); rc != SQLITE_OK) {
        failOpening(rc);
    }
    if (!deviation.empty()) {
        DatabaseError::raiseForSchema(m_file, deviation);
    }
    return format->number;
}

void Connection::checkPlace() {
    if (!m_directory.isAt(m_path)) {
        m_onFailure();
        OPENWBEM_THROW_CIM(
            FAILED,
            blocxx::Format("The repository \"%1\" was replaced by another one while it was being "
                           "opened or used; nothing was changed in it. Try again",
                           m_file));
    }
}

void Connection::releaseMemory() noexcept {
    sqlite3_db_release_memory(m_db);
}

int64_t Connection::changes() const noexcept {
    return sqlite3_total_changes64(m_db);
}

int64_t Connection::lastInserted() const noexcept {
    return sqlite3_last_insert_rowid(m_db);
}

void Connection::fail(int code, const char* attempt) {
    const int systemError = sqlite3_system_errno(m_db);
    m_onFailure();
    DatabaseError::raise(code, systemError, m_file, attempt);
}

void Connection::execute(const char* sql, const char* attempt) {
    if (const int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr); rc != SQLITE_OK) {
        fail(rc, attempt);
    }
}

int64_t Connection::amount() const noexcept {
    sqlite3_stmt* statement = nullptr;
    int64_t pages = 0;
    if (sqlite3_prepare_v2(m_db, "PRAGMA page_count", -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW) {
        pages = sqlite3_column_int64(statement, 0);
    }
    sqlite3_finalize(statement);
    // Twice, because a row that is changed during a query may come again.
    return 2 * pages * RepositoryFormat::PAGE_SIZE;
}

sqlite3_stmt* Connection::prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    const int rc =
        sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (rc != SQLITE_OK) {
        fail(rc, "read");
    }
    return statement;
}

}  // namespace OpenWBEM
