// SPDX-License-Identifier: Apache-2.0
//
// Which classes use which qualifiers. All classes of a namespace must be read for that, so the
// result is cached, and only classes that have changed are read again.
#pragma once

#include <map>
#include <set>
#include <unordered_map>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/FoldedMap.hpp"
#include "openwbem/repository/Connection.hpp"

namespace OpenWBEM {

/// Adds the names of the qualifiers of the class and of its features, in lower case.
void collectQualifiers(const CIMClass& cls, std::set<String>& names);
void collectQualifiers(const CIMQualifierArray& qualifiers, std::set<String>& names);

class QualifierUses {
public:
    explicit QualifierUses(Connection& connection) : m_connection(connection) {}

    /// The name of the first class of the namespace that has the qualifier as declared, on itself
    /// or on any of its features; empty when none has.
    String findUser(int64_t ns, std::string_view qualifier);

    /// The names of all such classes, in lower case.
    StringArray findUsers(int64_t ns, std::string_view qualifier);

    /// Must be called for each class that is created, changed or deleted, with its name in lower
    /// case.
    void noteChange(int64_t ns, const String& className);
    void forget() noexcept { m_known.clear(); }

private:
    /// Of a namespace; classes by their names in lower case, with their spelling.
    struct Uses {
        FoldedMap<std::map<String, String>> users;
        std::unordered_map<String, StringArray> qualifiers;
        std::set<String> changed;
    };
    Uses& of(int64_t ns);
    void readAll(int64_t ns, Uses& uses);
    void readAgain(int64_t ns, const String& className, Uses& uses);
    static void add(const String& className, const CIMClass& declared, Uses& uses);
    static void remove(const String& className, Uses& uses);

    Connection& m_connection;
    std::unordered_map<int64_t, Uses> m_known;
};

}  // namespace OpenWBEM
