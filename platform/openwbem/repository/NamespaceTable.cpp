// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/NamespaceTable.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/model/Identifier.hpp"
#include "openwbem/repository/Statement.hpp"

namespace OpenWBEM {

using blocxx::Format;
using blocxx::toLower;

namespace {

constexpr size_t MAX_KNOWN = 1000;

}  // namespace

std::optional<NamespaceRow> NamespaceTable::find(const String& ns) {
    if (const auto known = m_known.find(ns); known != m_known.end()) {
        return known->second;
    }
    const String name = toLower(ns);
    Statement query(m_connection, "SELECT id, spelling FROM namespace WHERE name=?");
    if (!query.bind(name).step()) {
        return std::nullopt;
    }
    NamespaceRow row{query.number(0), String(query.text(1))};
    if (m_known.size() >= MAX_KNOWN) {
        m_known.clear();
    }
    m_known.emplace(ns, row);
    return row;
}

NamespaceRow NamespaceTable::require(const String& ns) {
    auto row = find(ns);
    if (!row) {
        OPENWBEM_THROW_CIM(INVALID_NAMESPACE, Format("there is no namespace \"%1\"", ns));
    }
    return *std::move(row);
}

StringArray NamespaceTable::spellings() {
    StringArray result;
    Statement query(m_connection, "SELECT spelling FROM namespace ORDER BY id");
    while (query.step()) {
        result.emplace_back(query.text(0));
    }
    return result;
}

void NamespaceTable::create(const String& ns) {
    if (!isNamespaceName(ns)) {
        OPENWBEM_THROW_CIM(
            INVALID_PARAMETER,
            Format("\"%1\" is not a namespace name. It takes names joined by \"/\", each of "
                   "letters, digits and underscores, and none beginning with a digit",
                   ns));
    }
    const String name = toLower(ns);
    Statement insert(m_connection, "INSERT INTO namespace (name, spelling) VALUES (?, ?)");
    if (!insert.bind(name).bind(ns).insert()) {
        OPENWBEM_THROW_CIM(ALREADY_EXISTS, Format("the namespace \"%1\" exists already", ns));
    }
}

void NamespaceTable::remove(const String& ns) {
    const auto row = find(ns);
    if (!row) {
        OPENWBEM_THROW_CIM(NOT_FOUND, Format("there is no namespace \"%1\"", ns));
    }
    for (const char* sql :
         {"DELETE FROM reference WHERE instance IN (SELECT id FROM instance WHERE ns=?)",
          "DELETE FROM instance WHERE ns=?", "DELETE FROM class_reference WHERE ns=?",
          "DELETE FROM class WHERE ns=?", "DELETE FROM qualifier_type WHERE ns=?",
          "DELETE FROM namespace WHERE id=?"}) {
        Statement(m_connection, sql).bind(row->id).run();
    }
    forget();
}

}  // namespace OpenWBEM
