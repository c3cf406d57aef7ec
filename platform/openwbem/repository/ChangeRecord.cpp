// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/ChangeRecord.hpp"

#include <endian.h>
#include <sqlite3.h>

#include <cstring>

#include "openwbem/repository/ChangeStatements.hpp"

namespace OpenWBEM {

namespace {

void putNumber(blocxx::String& record, uint64_t number) {
    number = htole64(number);
    record.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void putBytes(blocxx::String& record, std::string_view bytes) {
    putNumber(record, bytes.size());
    record.append(bytes);
}

/// Takes the parts of a record off its beginning; stays false once there is none.
class Parts {
public:
    explicit Parts(std::string_view& rest) : m_rest(rest) {}

    explicit operator bool() const noexcept { return m_isGood; }
    std::string_view take(uint64_t size) {
        m_isGood = m_isGood && size <= m_rest.size();
        const std::string_view taken = m_rest.substr(0, m_isGood ? size : 0);
        m_rest.remove_prefix(taken.size());
        return taken;
    }
    uint64_t number() {
        uint64_t number = 0;
        const std::string_view bytes = take(sizeof number);
        std::memcpy(&number, bytes.data(), bytes.size());
        return le64toh(number);
    }
    std::string_view bytes() { return take(number()); }

private:
    std::string_view& m_rest;
    bool m_isGood = true;
};

int bindNext(sqlite3_stmt* statement, int index, Parts& parts) {
    const std::string_view kind = parts.take(1);
    if (kind == "i") {
        return sqlite3_bind_int64(statement, index, static_cast<int64_t>(parts.number()));
    }
    const std::string_view bytes = parts.bytes();
    const char* data = bytes.empty() ? "" : bytes.data();
    if (kind == "t") {
        return sqlite3_bind_text64(statement, index, data, bytes.size(), SQLITE_STATIC,
                                   SQLITE_UTF8);
    }
    return kind == "b" ? sqlite3_bind_blob64(statement, index, data, bytes.size(), SQLITE_STATIC)
                       : SQLITE_CORRUPT;
}

}  // namespace

void BoundValues::appendTo(blocxx::String& record, std::string_view sql) const {
    putBytes(record, sql);
    putNumber(record, m_count);
    for (size_t i = 0; i < m_count; ++i) {
        const Value& value = m_values[i];
        record.push_back(value.kind);
        if (value.kind == 'i') {
            putNumber(record, static_cast<uint64_t>(value.number));
        } else {
            putBytes(record, value.bytes);
        }
    }
}

ChangeReplay::ChangeReplay(sqlite3* database) : m_database(database) {}

ChangeReplay::~ChangeReplay() {
    for (const auto& [sql, statement] : m_statements) {
        sqlite3_finalize(statement);
    }
}

int ChangeReplay::prepared(std::string_view sql, sqlite3_stmt*& statement) {
    const char* const own = ChangeStatements::find(sql);
    if (own == nullptr) {
        return SQLITE_CORRUPT;
    }
    auto& known = m_statements[own];
    const int rc =
        known != nullptr ? SQLITE_OK : sqlite3_prepare_v3(m_database, own, -1, 0, &known, nullptr);
    statement = known;
    return rc;
}

int ChangeReplay::applyOne(std::string_view& records) {
    Parts parts(records);
    const std::string_view sql = parts.bytes();
    const uint64_t count = parts.number();
    sqlite3_stmt* statement = nullptr;
    if (!parts) {
        return SQLITE_CORRUPT;
    }
    int rc = prepared(sql, statement);
    if (rc == SQLITE_OK &&
        count != static_cast<uint64_t>(sqlite3_bind_parameter_count(statement))) {
        rc = SQLITE_CORRUPT;
    }
    for (uint64_t i = 0; rc == SQLITE_OK && i < count; ++i) {
        rc = bindNext(statement, static_cast<int>(i) + 1, parts);
        rc = rc == SQLITE_OK && !parts ? SQLITE_CORRUPT : rc;
    }
    if (rc != SQLITE_OK) {
        return rc;
    }
    rc = sqlite3_step(statement);
    sqlite3_reset(statement);
    return rc == SQLITE_DONE ? SQLITE_OK : rc == SQLITE_ROW ? SQLITE_CORRUPT : rc;
}

int ChangeReplay::apply(std::string_view records) {
    int rc = SQLITE_OK;
    while (rc == SQLITE_OK && !records.empty()) {
        rc = applyOne(records);
    }
    return rc;
}

}  // namespace OpenWBEM
