// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/InstanceTable.hpp"

#include "openwbem/repository/Statement.hpp"
#include "openwbem/repository/StoredForm.hpp"

namespace OpenWBEM {

using blocxx::toLower;

namespace {

/// A portion of an enumeration ends after this many rows or bytes: large enough that starting a
/// portion costs little, small enough to hold in memory.
constexpr size_t PORTION_ROWS = 256;
constexpr size_t PORTION_BYTES = 256 * 1024;
/// Fewer, since the objects of each reference are read one by one.
constexpr size_t PORTION_REFERENCES = 64;

constexpr const char* REMOVE_REFERENCES = "DELETE FROM reference WHERE instance=?";

InstanceRow rowOf(const Statement& query) {
    return {query.number(0), query.number(1), StoredForm::instance(query.blob(2))};
}

const char* portionQuery(InstanceTable::Column column) {
    return column == InstanceTable::Column::BODY
               ? "SELECT id, body FROM instance WHERE class=? AND id>? AND id<? ORDER BY id"
               : "SELECT id, path FROM instance WHERE class=? AND id>? AND id<? ORDER BY id";
}

}  // namespace

String InstanceTable::targetKey(const CIMObjectPath& path) {
    return toLower(path.getNameSpace()) + ':' + path.canonicalKey();
}

std::optional<InstanceRow> InstanceTable::find(int64_t ns, const String& key) {
    Statement query(m_connection, "SELECT id, class, body FROM instance WHERE ns=? AND key=?");
    return query.bind(ns).bind(key).step() ? std::optional(rowOf(query)) : std::nullopt;
}

std::optional<int64_t> InstanceTable::findId(int64_t ns, const String& key) {
    Statement query(m_connection, "SELECT id FROM instance WHERE ns=? AND key=?");
    return query.bind(ns).bind(key).step() ? std::optional(query.number(0)) : std::nullopt;
}

std::optional<InstanceRow> InstanceTable::read(int64_t id) {
    Statement query(m_connection, "SELECT id, class, body FROM instance WHERE id=?");
    return query.bind(id).step() ? std::optional(rowOf(query)) : std::nullopt;
}

bool InstanceTable::hasInstances(int64_t cls) {
    return Statement(m_connection, "SELECT 1 FROM instance WHERE class=? LIMIT 1").bind(cls).step();
}

int64_t InstanceTable::nextId() {
    Statement query(m_connection, "SELECT max(id) FROM instance");
    return query.step() ? query.number(0) + 1 : 1;
}

bool InstanceTable::insert(int64_t ns, int64_t cls, const CIMObjectPath& path,
                           const CIMInstance& instance) {
    const String key = path.canonicalKey();
    const String pathBytes = StoredForm::of(CIMObjectPath(path).setNameSpace(String()));
    const String body = StoredForm::of(instance);
    int64_t id = 0;
    {
        Statement insert(
            m_connection,
            "INSERT INTO instance (ns, class, key, path, body) VALUES (?, ?, ?, ?, ?)");
        insert.bind(ns).bind(cls).bind(key).bindBlob(pathBytes).bindBlob(body);
        if (!insert.insert()) {
            return false;
        }
        id = m_connection.lastInserted();
    }
    insertReferences(ns, id, instance);
    return true;
}

void InstanceTable::insertReferences(int64_t ns, int64_t id, const CIMInstance& instance) {
    for (const CIMProperty& property : instance.getProperties()) {
        const CIMValue& value = property.getValue();
        if (value.isArray() || value.getType() != CIMDataType::REFERENCE) {
            continue;
        }
        const String target = targetKey(value.get<CIMObjectPath>());
        const String role = toLower(property.getName());
        Statement(m_connection,
                  "INSERT INTO reference (target, ns, instance, role) VALUES (?, ?, ?, ?)")
            .bind(target)
            .bind(ns)
            .bind(id)
            .bind(role)
            .run();
    }
}

void InstanceTable::update(int64_t ns, int64_t id, const CIMInstance& instance) {
    const String body = StoredForm::of(instance);
    Statement(m_connection, "UPDATE instance SET body=? WHERE id=?").bindBlob(body).bind(id).run();
    Statement(m_connection, REMOVE_REFERENCES).bind(id).run();
    insertReferences(ns, id, instance);
}

void InstanceTable::remove(int64_t id) {
    Statement(m_connection, REMOVE_REFERENCES).bind(id).run();
    Statement(m_connection, "DELETE FROM instance WHERE id=?").bind(id).run();
}

Array<InstanceTable::Blob> InstanceTable::blobsAfter(Column column, int64_t cls, int64_t last,
                                                     int64_t end) {
    Array<Blob> portion;
    size_t bytes = 0;
    Statement query(m_connection, portionQuery(column));
    query.bind(cls).bind(last).bind(end);
    while (portion.size() < PORTION_ROWS && bytes < PORTION_BYTES && query.step()) {
        const Codec::Bytes blob = query.blob(1);
        const int64_t id = query.number(0);
        // Otherwise the next portion could be this one again.
        if (id <= (portion.empty() ? last : portion.back().first)) {
            query.failForDamage();
        }
        portion.emplace_back(id, String(reinterpret_cast<const char*>(blob.data()), blob.size()));
        bytes += blob.size();
    }
    return portion;
}

void InstanceTable::forEach(int64_t cls,
                            const std::function<void(int64_t id, const CIMInstance&)>& visit) {
    const int64_t end = nextId();
    for (int64_t last = 0;;) {
        const Array<Blob> portion = blobsAfter(Column::BODY, cls, last, end);
        if (portion.empty()) {
            return;
        }
        for (const auto& [id, body] : portion) {
            visit(id, StoredForm::instance(StoredForm::bytesOf(body)));
        }
        last = portion.back().first;
    }
}

Array<ReferenceRow> InstanceTable::referencesAfter(int64_t ns, const String& target, int64_t end,
                                                   const ReferenceRow& last) {
    Array<ReferenceRow> portion;
    Statement query(m_connection,
                    "SELECT r.instance, i.class, r.role FROM reference r JOIN instance i "
                    "ON i.id=r.instance WHERE r.target=? AND r.ns=? AND r.instance<? "
                    "AND (r.instance, r.role)>(?, ?) ORDER BY r.instance, r.role");
    query.bind(target).bind(ns).bind(end).bind(last.instance).bind(last.role);
    while (portion.size() < PORTION_REFERENCES && query.step()) {
        portion.push_back({query.number(0), query.number(1), String(query.text(2))});
    }
    return portion;
}

}  // namespace OpenWBEM
