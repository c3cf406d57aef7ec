// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/QualifierUses.hpp"

#include "openwbem/repository/Statement.hpp"
#include "openwbem/repository/StoredForm.hpp"

namespace OpenWBEM {

namespace {

/// How many namespaces are remembered. Each takes memory in proportion to its classes.
constexpr size_t MAX_KNOWN = 8;

}  // namespace

void collectQualifiers(const CIMQualifierArray& qualifiers, std::set<String>& names) {
    for (const CIMQualifier& qualifier : qualifiers) {
        names.insert(blocxx::toLower(qualifier.getName()));
    }
}

void collectQualifiers(const CIMClass& cls, std::set<String>& names) {
    collectQualifiers(cls.getQualifiers(), names);
    for (const CIMProperty& property : cls.getProperties()) {
        collectQualifiers(property.getQualifiers(), names);
    }
    for (const CIMMethod& method : cls.getMethods()) {
        collectQualifiers(method.getQualifiers(), names);
        for (const CIMParameter& parameter : method.getParameters()) {
            collectQualifiers(parameter.getQualifiers(), names);
        }
    }
}

String QualifierUses::findUser(int64_t ns, std::string_view qualifier) {
    const Uses& uses = of(ns);
    const auto found = uses.users.find(qualifier);
    return found == uses.users.end() ? String() : found->second.begin()->second;
}

StringArray QualifierUses::findUsers(int64_t ns, std::string_view qualifier) {
    StringArray names;
    const Uses& uses = of(ns);
    if (const auto found = uses.users.find(qualifier); found != uses.users.end()) {
        for (const auto& [name, spelling] : found->second) {
            names.push_back(name);
        }
    }
    return names;
}

void QualifierUses::noteChange(int64_t ns, const String& className) {
    if (const auto known = m_known.find(ns); known != m_known.end()) {
        Uses& uses = known->second;
        uses.changed.insert(className);
        if (uses.changed.size() > uses.qualifiers.size()) {
            // Reading all classes again is no more work, and bounds the memory in a daemon.
            m_known.erase(known);
        }
    }
}

QualifierUses::Uses& QualifierUses::of(int64_t ns) {
    const auto known = m_known.find(ns);
    if (known != m_known.end()) {
        Uses& uses = known->second;
        while (!uses.changed.empty()) {
            readAgain(ns, *uses.changed.begin(), uses);
            uses.changed.erase(uses.changed.begin());
        }
        return uses;
    }
    if (m_known.size() >= MAX_KNOWN) {
        m_known.clear();
    }
    Uses read;
    readAll(ns, read);
    return m_known.emplace(ns, std::move(read)).first->second;
}

void QualifierUses::readAll(int64_t ns, Uses& uses) {
    Statement query(m_connection, "SELECT name, body FROM class WHERE ns=?");
    query.bind(ns);
    while (query.step()) {
        const String name(query.text(0));
        add(name, StoredForm::cls(query.blob(1)), uses);
    }
}

void QualifierUses::readAgain(int64_t ns, const String& className, Uses& uses) {
    remove(className, uses);
    Statement query(m_connection, "SELECT body FROM class WHERE ns=? AND name=?");
    if (query.bind(ns).bind(className).step()) {
        add(className, StoredForm::cls(query.blob(0)), uses);
    }
}

void QualifierUses::add(const String& className, const CIMClass& declared, Uses& uses) {
    StringArray& own = uses.qualifiers[className];
    std::set<String> names;
    collectQualifiers(declared, names);
    for (const String& qualifier : names) {
        uses.users[qualifier].emplace(className, declared.getName());
        own.push_back(qualifier);
    }
}

void QualifierUses::remove(const String& className, Uses& uses) {
    const auto known = uses.qualifiers.find(className);
    if (known == uses.qualifiers.end()) {
        return;
    }
    for (const String& qualifier : known->second) {
        const auto users = uses.users.find(qualifier);
        users->second.erase(className);
        if (users->second.empty()) {
            uses.users.erase(users);
        }
    }
    uses.qualifiers.erase(known);
}

}  // namespace OpenWBEM
