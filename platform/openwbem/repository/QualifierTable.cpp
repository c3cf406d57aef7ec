// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/QualifierTable.hpp"

#include "openwbem/repository/Statement.hpp"
#include "openwbem/repository/StoredForm.hpp"

namespace OpenWBEM {

using blocxx::toLower;

namespace {
constexpr size_t MAX_KNOWN = 50;
}

void QualifierTable::Types::put(CIMQualifierType type) {
    if (const auto place = m_places.find(type.getName()); place != m_places.end()) {
        m_types[place->second] = std::move(type);
        return;
    }
    m_places.emplace(type.getName(), m_types.size());
    m_types.push_back(std::move(type));
}

void QualifierTable::Types::remove(std::string_view name) {
    const auto place = m_places.find(name);
    if (place == m_places.end()) {
        return;
    }
    const size_t removed = place->second;
    m_types.erase(m_types.begin() + static_cast<ptrdiff_t>(removed));
    m_places.erase(place);
    for (auto& [other, at] : m_places) {
        at -= at > removed ? 1 : 0;
    }
}

const CIMQualifierType* QualifierTable::Types::find(std::string_view name) const {
    const auto place = m_places.find(name);
    return place == m_places.end() ? nullptr : &m_types[place->second];
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
