// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/QualifierTable.hpp"

#include <map>

#include "openwbem/repository/Statement.hpp"
#include "openwbem/repository/StoredForm.hpp"

namespace OpenWBEM {

using blocxx::toLower;

namespace {
constexpr size_t MAX_KNOWN = 50;
}

void QualifierTable::Types::put(CIMQualifierType type) {
    const auto [place, isNew] = m_types.try_emplace(type.getName(), Entry{m_next, {}});
    m_next += isNew ? 1 : 0;
    place->second.type = std::move(type);
}

void QualifierTable::Types::remove(std::string_view name) {
    if (const auto place = m_types.find(name); place != m_types.end()) {
        m_types.erase(place);
    }
}

const CIMQualifierType* QualifierTable::Types::find(std::string_view name) const {
    const auto place = m_types.find(name);
    return place == m_types.end() ? nullptr : &place->second.type;
}

Array<CIMQualifierType> QualifierTable::Types::all() const {
    std::map<uint64_t, CIMQualifierType> ordered;
    for (const auto& [name, entry] : m_types) {
        ordered.emplace(entry.order, entry.type);
    }
    Array<CIMQualifierType> types;
    for (auto& [order, type] : ordered) {
        types.push_back(std::move(type));
    }
    return types;
}

std::shared_ptr<const QualifierTable::Types> QualifierTable::types(int64_t ns) {
    if (const auto known = m_known.find(ns); known != m_known.end()) {
        return known->second;
    }
    auto types = std::make_shared<Types>();
    Statement query(m_connection, "SELECT body FROM qualifier_type WHERE ns=? ORDER BY id");
    query.bind(ns);
    while (query.step()) {
        types->put(StoredForm::qualifierType(query.blob(0)));
    }
    if (m_known.size() >= MAX_KNOWN) {
        m_known.clear();
    }
    m_known[ns] = types;
    return types;
}

QualifierTypeLookup QualifierTable::lookup(int64_t ns) {
    return [known = types(ns)](std::string_view name) { return known->find(name); };
}

void QualifierTable::put(int64_t ns, const CIMQualifierType& type) {
    const String name = toLower(type.getName());
    const String body = StoredForm::of(type);
    Statement insert(m_connection,
                     "INSERT INTO qualifier_type (ns, name, body) VALUES (?, ?, ?) "
                     "ON CONFLICT (ns, name) DO UPDATE SET body=excluded.body");
    insert.bind(ns).bind(name).bindBlob(body).run();
    if (Types* const types = known(ns)) {
        types->put(type);
    }
}

// Updates the known types: reading them again for each type that a new namespace gets would take
// quadratic time.
QualifierTable::Types* QualifierTable::known(int64_t ns) {
    const auto found = m_known.find(ns);
    if (found == m_known.end()) {
        return nullptr;
    }
    if (found->second.use_count() > 1) {
        // Others hold these types and must not see the change.
        found->second = std::make_shared<Types>(*found->second);
    }
    return found->second.get();
}

void QualifierTable::remove(int64_t ns, const String& name) {
    const String lower = toLower(name);
    Statement(m_connection, "DELETE FROM qualifier_type WHERE ns=? AND name=?")
        .bind(ns)
        .bind(lower)
        .run();
    if (Types* const types = known(ns)) {
        types->remove(name);
    }
}

}  // namespace OpenWBEM
