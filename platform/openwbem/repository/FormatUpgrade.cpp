// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/FormatUpgrade.hpp"

#include <sqlite3.h>

#include "blocxx/Format.hpp"
#include "openwbem/repository/DatabaseError.hpp"
#include "openwbem/repository/SchemaCheck.hpp"

namespace OpenWBEM::FormatUpgrade {

void run(Connection& connection, int32_t from, RepositoryFormat::KnownFormats known) {
    for (const auto& [number, schema, fromFormatBefore] : known) {
        if (number <= from) {
            continue;
        }
        fromFormatBefore(connection);
        const String mark = blocxx::Format("PRAGMA user_version=%1", number);
        connection.execute(mark.c_str(), "written");
        String deviation;
        if (const int rc = SchemaCheck::compare(connection.raw(), schema, deviation);
            rc != SQLITE_OK) {
            connection.fail(rc, "written");
        }
        if (!deviation.empty()) {
            DatabaseError::raiseForSchema(connection.file(), deviation);
        }
    }
}

}  // namespace OpenWBEM::FormatUpgrade
