// SPDX-License-Identifier: Apache-2.0
//
// The directory of a repository, held open, and the only names in it that SQLite may touch.
//
// The directory belongs to the daemon's account, and root works in it. The account may plant or
// exchange anything there at any time, to make root open, write or remove another file. So every
// file is opened relative to the open directory and checked after it has been opened.
#pragma once

#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

struct sqlite3_vfs;

namespace OpenWBEM {

class RepositoryDirectory {
public:
    /// Opens the directory. A link in its place is followed only when it is root's or this user's
    /// own. When there is no such directory, no file in it can be opened.
    explicit RepositoryDirectory(const blocxx::String& path);

    /// The name of the repository file in the open directory, for SQLite. The names of the files
    /// beside it begin with it.
    const blocxx::String& file() const noexcept { return m_file; }
    /// Whether there is anything of that name beside the repository file, "-journal" for one.
    bool has(const char* ending) const noexcept;
    /// Whether `path` leads to this directory still.
    bool isAt(const blocxx::String& path) const;

    /// Makes the repository file, empty; false with errno when it cannot or there is one.
    bool makeFile() const;
    /// Removes what has that name beside the repository file, or with "" the file itself.
    bool remove(const char* ending) const noexcept;
    /// Syncs the directory; false with errno set.
    bool sync() const noexcept;

    /// Whether a name that SQLite uses is one of a repository's own.
    static bool isOwn(const char* name) noexcept;
    /// The same for the files whose presence SQLite asks for: the journal and the log.
    static bool isJournalOrLog(const char* name) noexcept;
    /// Has that layer look up a repository's own files in the open directory, so that no link is
    /// followed, nothing is waited for, and nothing is used but a regular file. A file that has
    /// names elsewhere is refused unless it belongs to the directory's owner: it may be anybody's.
    /// Only a file that is empty changes its owner. Other files are opened as ever. Throws
    /// CIMException FAILED when the layer does not let that be done.
    static void guard(sqlite3_vfs& layer);

private:
    blocxx::File m_directory;
    blocxx::String m_file;
};

}  // namespace OpenWBEM
