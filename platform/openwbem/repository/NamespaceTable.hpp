// SPDX-License-Identifier: Apache-2.0
//
// The namespaces of a repository.
#pragma once

#include <optional>
#include <unordered_map>

#include "openwbem/repository/Connection.hpp"

namespace OpenWBEM {

struct NamespaceRow {
    int64_t id;
    String spelling;
};

class NamespaceTable {
public:
    explicit NamespaceTable(Connection& connection) : m_connection(connection) {}

    std::optional<NamespaceRow> find(const String& ns);
    /// Throws CIMException INVALID_NAMESPACE when there is no such namespace.
    NamespaceRow require(const String& ns);
    /// In the order in which they were created.
    StringArray spellings();
    /// Throws CIMException ALREADY_EXISTS or INVALID_PARAMETER.
    void create(const String& ns);
    /// Deletes the namespace with everything in it. Throws CIMException NOT_FOUND.
    void remove(const String& ns);

    void forget() noexcept { m_known.clear(); }

private:
    Connection& m_connection;
    std::unordered_map<String, NamespaceRow> m_known;  // by the name as asked for
};

}  // namespace OpenWBEM
