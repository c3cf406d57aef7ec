// SPDX-License-Identifier: Apache-2.0
//
// The file layer under SQLite: every page of the repository file carries a checksum that is made
// when the page is written and verified when it is read, so that a page that is not what was
// written is an error (SQLITE_IOERR_DATA) and never wrong data. Pages that follow each other are
// written in one call. Journals and write-ahead logs pass through untouched. It touches nothing but
// a repository's own files, by the names that RepositoryDirectory gives them.
#pragma once

#include <sqlite3.h>

namespace OpenWBEM::CheckedFile {

/// The result code for the name of any other file. SQLite itself gives it for none.
inline constexpr int FOREIGN_NAME = SQLITE_AUTH;

/// The name of the file layer for sqlite3_open_v2(). It stands on what is SQLite's default layer at
/// the first call.
const char* layerName();

}  // namespace OpenWBEM::CheckedFile
