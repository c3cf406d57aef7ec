// SPDX-License-Identifier: Apache-2.0
//
// The numbers and names of the repository file. What they mean is told in
// docs/repository-format.md; a change here is a change there.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace OpenWBEM {

class Connection;

}  // namespace OpenWBEM

namespace OpenWBEM::RepositoryFormat {

/// "KOVR", where file(1) and SQLite look for whose file it is.
inline constexpr int32_t APPLICATION_ID = 0x4B4F5652;
/// The format number. A reader refuses greater ones. KNOWN tells which smaller ones there are.
inline constexpr int32_t VERSION = 1;

inline constexpr int PAGE_SIZE = 4096;
/// At the end of each page.
inline constexpr int CHECKSUM_SIZE = 8;

/// Places in the header of an SQLite file.
inline constexpr size_t HEADER_SIZE = 100;
inline constexpr size_t HEADER_READ_FORMAT_AT = 19;
inline constexpr size_t HEADER_VERSION_AT = 60;
inline constexpr size_t HEADER_APPLICATION_ID_AT = 68;

/// The number at such a place. The header is as long as HEADER_SIZE.
int32_t numberAt(std::string_view header, size_t at);

/// The read format of a file with a write-ahead log.
inline constexpr unsigned char LOGGED = 2;

/// A row of sqlite_schema; `sql` makes the table or index.
struct SchemaRow {
    const char* type;
    const char* name;
    const char* table;
    const char* sql;
};
extern const std::array<SchemaRow, 13> SCHEMA;

/// A format that a repository may have, with its schema.
struct KnownFormat {
    int32_t number;
    std::span<const SchemaRow> schema;
    /// Makes a file of the format before into one of this, inside a transaction. Throws
    /// CIMException. Null in the oldest format.
    void (*fromFormatBefore)(Connection& connection);
};
using KnownFormats = std::span<const KnownFormat>;
/// From the oldest to the present one, which is the last.
extern const std::array<KnownFormat, 1> KNOWN;

}  // namespace OpenWBEM::RepositoryFormat
