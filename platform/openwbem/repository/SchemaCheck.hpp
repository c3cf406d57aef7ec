// SPDX-License-Identifier: Apache-2.0
//
// Checks what a repository file holds besides rows. Whoever can write the file could plant
// something in its schema that runs when the file is used. So the schema is compared with ours, to
// the letter, before the file is used, and the connection runs nothing of the kind even when the
// file changes afterwards.
#pragma once

#include <span>

#include "blocxx/String.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"

struct sqlite3;

namespace OpenWBEM::SchemaCheck {

/// Sets the connection up so that the file's schema runs nothing: no triggers, views, virtual
/// tables, extensions or functions that do more than calculate; no other file; no temporary file.
/// Pages that are freed are written with zeros. Reads nothing. An SQLite result code.
int confine(sqlite3* database);

/// Reads the schema. `deviation` says what is not in `ours` or only there, and is empty when they
/// are the same. An SQLite result code.
int compare(sqlite3* database, std::span<const RepositoryFormat::SchemaRow> ours,
            blocxx::String& deviation);

}  // namespace OpenWBEM::SchemaCheck
