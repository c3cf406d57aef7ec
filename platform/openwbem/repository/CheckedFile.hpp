// SPDX-License-Identifier: Apache-2.0
//
// The file layer under SQLite. It writes a checksum with each page of the repository file and
// verifies it when the page is read: a damaged page is an error (SQLITE_IOERR_DATA), never wrong
// data. Adjacent pages are written with one call. Journals and write-ahead logs pass through
// unchanged. The layer opens only a repository's own files, by the names that RepositoryDirectory
// gives them.
#pragma once

#include <sqlite3.h>

namespace OpenWBEM::CheckedFile {

/// The result code for any other file name. SQLite itself never returns it for a name.
inline constexpr int FOREIGN_NAME = SQLITE_AUTH;

/// Registers the layer and returns its name for sqlite3_open_v2(). It delegates to the layer that
/// is SQLite's default at the first call.
const char* layerName();

}  // namespace OpenWBEM::CheckedFile
