// SPDX-License-Identifier: Apache-2.0
//
// The qualifier types of all namespaces. A namespace has few, which are used together: they are
// read at once and cached.
#pragma once

#include <memory>
#include <unordered_map>

#include "openwbem/model/CIMQualifierType.hpp"
#include "openwbem/model/ClassDerivation.hpp"
#include "openwbem/model/FoldedMap.hpp"
#include "openwbem/repository/Connection.hpp"

namespace OpenWBEM {

class QualifierTable {
public:
    explicit QualifierTable(Connection& connection) : m_connection(connection) {}

    /// The qualifier types of a namespace.
    class Types {
    public:
        /// Replaces the type of that name, or appends it.
        void put(CIMQualifierType type);
        void remove(std::string_view name);
        const CIMQualifierType* find(std::string_view name) const;
        /// In the order of their creation.
        Array<CIMQualifierType> all() const;

    private:
        struct Entry {
            uint64_t order;
            CIMQualifierType type;
        };
        FoldedMap<Entry> m_types;
        uint64_t m_next = 0;
    };

    std::shared_ptr<const Types> types(int64_t ns);
    /// What the derivation of classes asks; it keeps the types that it hands out.
    QualifierTypeLookup lookup(int64_t ns);

    /// Creates or replaces.
    void put(int64_t ns, const CIMQualifierType& type);
    void remove(int64_t ns, const String& name);

    void forget() noexcept { m_known.clear(); }

private:
    /// The types of the namespace, to be brought in line with what was written; null when they
    /// are not known.
    Types* known(int64_t ns);

    Connection& m_connection;
    std::unordered_map<int64_t, std::shared_ptr<Types>> m_known;
};

}  // namespace OpenWBEM
