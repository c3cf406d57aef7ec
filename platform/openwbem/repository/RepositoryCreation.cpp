// SPDX-License-Identifier: Apache-2.0
//
// Part of CIMRepository: creating one.
#include <sqlite3.h>

#include <cerrno>
#include <cstring>

#include "blocxx/Format.hpp"
#include "openwbem/repository/CIMRepository.hpp"
#include "openwbem/repository/CheckedFile.hpp"
#include "openwbem/repository/DatabaseError.hpp"
#include "openwbem/repository/RepositoryDirectory.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "openwbem/repository/SchemaCheck.hpp"

namespace OpenWBEM {

using blocxx::Format;

namespace {

/// Creates the file. Removes it unless it is complete.
class NewFile {
public:
    NewFile(const RepositoryDirectory& directory, const String& path) : m_directory(directory) {
        if (!directory.makeFile()) {
            OPENWBEM_THROW_CIM(FAILED, Format("The repository \"%1\" cannot be created: %2", path,
                                              std::strerror(errno)));
        }
    }
    ~NewFile() {
        if (!m_isComplete) {
            m_directory.remove("");
            m_directory.remove("-journal");
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    void keep() noexcept { m_isComplete = true; }

private:
    const RepositoryDirectory& m_directory;
    bool m_isComplete = false;
};

class NewConnection {
public:
    NewConnection(const RepositoryDirectory& directory, const String& path) : m_path(path) {
        check(sqlite3_open_v2(directory.file().c_str(), &m_db,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
                              CheckedFile::layerName()));
        check(SchemaCheck::confine(m_db));
    }
    ~NewConnection() { sqlite3_close(m_db); }
    NewConnection(const NewConnection&) = delete;
    NewConnection& operator=(const NewConnection&) = delete;

    void execute(const String& sql) {
        check(sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr));
    }
    void reserveChecksums() {
        int size = RepositoryFormat::CHECKSUM_SIZE;
        check(sqlite3_file_control(m_db, "main", SQLITE_FCNTL_RESERVE_BYTES, &size));
    }

private:
    void check(int code) {
        if (code != SQLITE_OK) {
            const int systemError = m_db == nullptr ? 0 : sqlite3_system_errno(m_db);
            sqlite3_close(m_db);
            m_db = nullptr;
            DatabaseError::raise(code, systemError, m_path, "created");
        }
    }

    String m_path;
    sqlite3* m_db = nullptr;
};

}  // namespace

// 1. The file is created, exclusively and empty. A crash leaves a file that is refused because it
// is not a repository.
// 2. One transaction writes the tables. A crash leaves the same empty file, with or without a
// journal.
// 3. The directory is synced. From here on the repository is durable.
void CIMRepository::create(const String& directory) {
    const RepositoryDirectory opened(directory);
    const String path = directory + "/" + FILE_NAME;
    NewFile file(opened, path);
    {
        NewConnection connection(opened, path);
        connection.reserveChecksums();
        connection.execute(
            Format("PRAGMA page_size=%1; PRAGMA synchronous=EXTRA; BEGIN IMMEDIATE;"
                   "PRAGMA application_id=%2; PRAGMA user_version=%3;",
                   RepositoryFormat::PAGE_SIZE, RepositoryFormat::APPLICATION_ID,
                   RepositoryFormat::VERSION));
        for (const auto& row : RepositoryFormat::SCHEMA) {
            connection.execute(row.sql);
        }
        connection.execute("COMMIT");
    }
    if (!opened.sync()) {
        OPENWBEM_THROW_CIM(FAILED, Format("The directory \"%1\" of the new repository cannot be "
                                          "synced: %2",
                                          directory, std::strerror(errno)));
    }
    file.keep();
}

}  // namespace OpenWBEM
