// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/DatabaseError.hpp"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <new>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/repository/CheckedFile.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"

namespace OpenWBEM::DatabaseError {

using blocxx::Format;
namespace FileSystem = blocxx::FileSystem;

namespace {

constexpr const char* RESTORE = "put a backup of it back, or move it away and run kov-setup";

/// The reason for an SQLite result code, and the remedy.
String explain(int code, int systemError) {
    const String system = systemError == 0 ? String() : Format(" (%1)", std::strerror(systemError));
    if (code == SQLITE_IOERR_DATA || code == SQLITE_IOERR_SHORT_READ) {
        return Format("the file is damaged; %1", RESTORE);
    }
    switch (code & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return "another process holds the repository; stop owcimomd or wait for the other "
                   "program to end, and try again";
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return Format("the file is damaged; %1", RESTORE);
        case SQLITE_FULL:
            return "the file system is full; make room there and try again";
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return Format(
                "it may not be written by this process%1; check the owner and the mode "
                "of the file and its directory and how the file system is mounted",
                system);
        case SQLITE_CANTOPEN:
            return Format(
                "the file or its journal cannot be opened%1; check the owner and the "
                "mode of the file and its directory",
                system);
        case CheckedFile::FOREIGN_NAME:
            return Format(
                "the journal beside it names another file, which no journal of a "
                "repository does; nothing was changed or removed. Somebody else has made "
                "it: find out who. Then move the journal away, its name is that of the "
                "repository and \"-journal\"; if the repository is refused afterwards, %1",
                RESTORE);
        case SQLITE_TOOBIG:
            return "the object is too large to be stored";
        default:
            return Format("%1%2; check the disk and the system's log", sqlite3_errstr(code),
                          system);
    }
}

void raiseForHeader(const String& file, std::string_view header) {
    constexpr std::string_view MAGIC("SQLite format 3\0", 16);
    if (!header.starts_with(MAGIC) ||
        RepositoryFormat::numberAt(header, RepositoryFormat::HEADER_APPLICATION_ID_AT) !=
            RepositoryFormat::APPLICATION_ID) {
        raiseForForeignFile(file);
    }
    const int32_t version = RepositoryFormat::numberAt(header, RepositoryFormat::HEADER_VERSION_AT);
    if (version > RepositoryFormat::VERSION) {
        raiseForNewerFormat(file, version);
    }
}

void raiseForMissing(const String& directory, const String& file) {
    struct stat status {};
    if (::stat(directory.c_str(), &status) != 0 && errno == ENOENT) {
        const String backup = FileSystem::Path::dirname(directory) + "/" +
                              FileSystem::Path::basename(Layout::REPOSITORY_BACKUP);
        if (FileSystem::isDirectory(backup)) {
            OPENWBEM_THROW_CIM(
                FAILED, Format("The repository directory \"%1\" does not exist: an earlier run was "
                               "interrupted while it replaced the repository. To put it back, "
                               "rename \"%2\" to \"%1\"",
                               directory, backup));
        }
        OPENWBEM_THROW_CIM(FAILED, Format("The repository directory \"%1\" does not exist; run "
                                          "kov-setup to create a repository",
                                          directory));
    }
    if (::lstat(file.c_str(), &status) != 0) {
        if (errno == ENOENT) {
            OPENWBEM_THROW_CIM(FAILED, Format("The repository file \"%1\" does not exist; run "
                                              "kov-setup to create a repository, or put a backup "
                                              "of it back",
                                              file));
        }
    } else if (!S_ISREG(status.st_mode)) {
        OPENWBEM_THROW_CIM(FAILED, Format("The repository file \"%1\" is not a regular file and "
                                          "is not followed; %2",
                                          file, RESTORE));
    }
}

/// Why the file must not be opened, or null. Makes the same tests as opening it.
const char* reasonToRefuse(const String& directory, const String& file) {
    struct stat status {};
    struct stat owner {};
    if (::lstat(file.c_str(), &status) != 0 || ::stat(directory.c_str(), &owner) != 0) {
        return nullptr;
    }
    if (!S_ISREG(status.st_mode)) {
        return "is not a regular file";
    }
    return status.st_nlink > 1 && status.st_uid != owner.st_uid
               ? "is another name (a hard link) of a file that does not belong to the directory's "
                 "owner"
               : nullptr;
}

void raiseForUnfit(const String& directory, const String& file) {
    for (const char* ending : {"", "-journal", "-wal"}) {
        if (const char* reason = reasonToRefuse(directory, file + ending)) {
            OPENWBEM_THROW_CIM(FAILED, Format("\"%1\" %2, so that the repository is not opened: "
                                              "neither fennik nor owcimomd has made it, and "
                                              "neither reads it or removes it. Find out who has, "
                                              "then move it away and try again",
                                              file + ending, reason));
        }
    }
}

/// SQLite cannot open a file that is marked as one without a log when a log is beside it. If that
/// was ever its own, everything is in the file: the mark is made after the last checkpoint.
void raiseForStrayLog(const String& file, std::string_view header) {
    constexpr size_t READ_VERSION = 19;  // in the header; 1: without a log
    struct stat status {};
    const String log = file + "-wal";
    if (header.size() > READ_VERSION && header[READ_VERSION] == 1 &&
        ::lstat(log.c_str(), &status) == 0) {
        OPENWBEM_THROW_CIM(FAILED, Format("\"%1\" is no log of the repository beside it, so that "
                                          "the repository is not opened. Find out who has made it, "
                                          "then move it away and try again",
                                          log));
    }
}

void raiseForLink(const String& directory) {
    struct stat status {};
    if (::lstat(directory.c_str(), &status) == 0 && S_ISLNK(status.st_mode) && status.st_uid != 0 &&
        status.st_uid != ::geteuid()) {
        OPENWBEM_THROW_CIM(FAILED,
                           Format("The repository directory \"%1\" is a link of another "
                                  "user and is not followed; put the directory itself there",
                                  directory));
    }
}

}  // namespace

void raise(int code, int systemError, const String& file, const char* attempt) {
    if ((code & 0xff) == SQLITE_CANTOPEN) {
        raiseForUnfit(FileSystem::Path::dirname(file), file);
    }
    if ((code & 0xff) == SQLITE_NOMEM) {
        throw std::bad_alloc();
    }
    OPENWBEM_THROW_CIM(FAILED, Format("The repository \"%1\" cannot be %2: %3", file, attempt,
                                      explain(code, systemError)));
}

void raiseForNewerFormat(const String& file, int64_t version) {
    OPENWBEM_THROW_CIM(
        FAILED, Format("The repository \"%1\" has format %2 and this program knows only formats up "
                       "to %3: it was written by a newer version; use that version",
                       file, version, RepositoryFormat::VERSION));
}

void raiseForOlderFormat(const String& file, int64_t version) {
    OPENWBEM_THROW_CIM(FAILED,
                       Format("The repository \"%1\" has format %2, which is older than this "
                              "program's; run kov-setup, which brings it up to date",
                              file, version));
}

void raiseForForeignFile(const String& file) {
    OPENWBEM_THROW_CIM(FAILED, Format("The file \"%1\" is not a repository; %2", file, RESTORE));
}

void raiseForSchema(const String& file, const String& deviation) {
    OPENWBEM_THROW_CIM(FAILED, Format("The file \"%1\" does not have exactly the tables of a "
                                      "repository: %2. Something else has changed it, and it is "
                                      "not used; %3",
                                      file, deviation, RESTORE));
}

void raiseForOpening(int code, int systemError, const String& directory, const String& file,
                     std::string_view header) {
    raiseForLink(directory);
    raiseForMissing(directory, file);
    const int primary = code & 0xff;
    const bool isDamaged = primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB ||
                           code == SQLITE_IOERR_DATA || code == SQLITE_IOERR_SHORT_READ;
    if (isDamaged && !header.empty()) {
        raiseForHeader(file, header);
    }
    if (primary == SQLITE_CANTOPEN) {
        raiseForUnfit(FileSystem::Path::dirname(file), file);
        raiseForStrayLog(file, header);
    }
    raise(code, systemError, file, "opened");
}

}  // namespace OpenWBEM::DatabaseError
