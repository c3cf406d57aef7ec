// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/SchemaCheck.hpp"

#include <sqlite3.h>

#include <memory>
#include <set>
#include <tuple>

#include "blocxx/Format.hpp"

namespace OpenWBEM::SchemaCheck {

using blocxx::String;

namespace {

/// A row of sqlite_schema, in the order of its columns.
struct Object {
    String type;
    String name;
    String table;
    String sql;

    bool operator<(const Object& other) const {
        return std::tie(type, name, table, sql) <
               std::tie(other.type, other.name, other.table, other.sql);
    }
};

using Objects = std::set<Object>;

Objects objectsOf(std::span<const RepositoryFormat::SchemaRow> rows) {
    Objects objects;
    for (const auto& [type, name, table, sql] : rows) {
        objects.insert({type, name, table, sql});
    }
    // The index that SQLite makes for a UNIQUE column.
    objects.insert({"index", "sqlite_autoindex_namespace_1", "namespace", ""});
    return objects;
}

struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};

String textOf(sqlite3_stmt* statement, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return {text == nullptr ? "" : text,
            static_cast<size_t>(sqlite3_column_bytes(statement, column))};
}

String described(const Object& object) {
    return blocxx::Format("the %1 \"%2\"", object.type, object.name);
}

/// Removes the rows that it finds from `missing`. Stops at the first that is not there and sets
/// `deviation`. Returns an SQLite result code.
int takeFound(sqlite3* database, Objects& missing, String& deviation) {
    sqlite3_stmt* prepared = nullptr;
    int rc = sqlite3_prepare_v2(database, "SELECT type, name, tbl_name, sql FROM sqlite_schema", -1,
                                &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, Finalize> statement(prepared);
    while (rc == SQLITE_OK && deviation.empty()) {
        rc = sqlite3_step(prepared);
        if (rc == SQLITE_ROW) {
            const Object found{textOf(prepared, 0), textOf(prepared, 1), textOf(prepared, 2),
                               textOf(prepared, 3)};
            deviation =
                missing.erase(found) == 0 ? described(found) + " is not of a repository" : "";
            rc = SQLITE_OK;
        }
    }
    return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

/// Reading our schema takes a few hundred steps. A much larger one would exhaust the memory before
/// it could be compared.
constexpr int MOST_STEPS = 20000;
constexpr int LONGEST_TEXT = 10000;

int stop(void*) {
    return 1;
}

}  // namespace

int confine(sqlite3* database) {
    int rc = SQLITE_OK;
    const auto set = [&](int option, int value) {
        rc = rc == SQLITE_OK ? sqlite3_db_config(database, option, value, nullptr) : rc;
    };
    set(SQLITE_DBCONFIG_DEFENSIVE, 1);
    set(SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0);
    set(SQLITE_DBCONFIG_ENABLE_TRIGGER, 0);
    set(SQLITE_DBCONFIG_ENABLE_VIEW, 0);
    set(SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0);
    if (rc == SQLITE_OK) {
        rc = sqlite3_drop_modules(database, nullptr);
    }
    sqlite3_limit(database, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_limit(database, SQLITE_LIMIT_WORKER_THREADS, 0);
    // Without secure_delete SQLite leaves out pages that are freed in the transaction that made
    // them. They would be pages of zeros without a checksum, which are refused as damage.
    return rc != SQLITE_OK ? rc
                           : sqlite3_exec(database,
                                          "PRAGMA cell_size_check=ON; PRAGMA temp_store=MEMORY; "
                                          "PRAGMA secure_delete=ON",
                                          nullptr, nullptr, nullptr);
}

int compare(sqlite3* database, std::span<const RepositoryFormat::SchemaRow> ours,
            String& deviation) {
    Objects missing = objectsOf(ours);
    const int longest = sqlite3_limit(database, SQLITE_LIMIT_LENGTH, LONGEST_TEXT);
    sqlite3_progress_handler(database, MOST_STEPS, stop, nullptr);
    int rc = takeFound(database, missing, deviation);
    sqlite3_progress_handler(database, 0, nullptr, nullptr);
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, longest);
    if (rc == SQLITE_INTERRUPT || rc == SQLITE_TOOBIG) {
        deviation = "its schema is too large";
        rc = SQLITE_OK;
    }
    if (deviation.empty() && !missing.empty()) {
        deviation = described(*missing.begin()) + " is missing";
    }
    return rc;
}

}  // namespace OpenWBEM::SchemaCheck
