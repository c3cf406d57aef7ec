// SPDX-License-Identifier: Apache-2.0
//
// The classes of all namespaces. Classes are stored as declared and returned as derived. A bounded
// cache keeps derived classes, which their subclasses need again.
#pragma once

#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/repository/Connection.hpp"
#include "openwbem/repository/QualifierTable.hpp"
#include "openwbem/repository/QualifierUses.hpp"

namespace OpenWBEM {

struct StoredClass {
    int64_t id;
    int64_t super;  ///< 0 for a class at the top
    CIMClass cls;   ///< derived
};

struct ClassName {
    int64_t id;
    String spelling;
};

class ClassTable {
public:
    ClassTable(Connection& connection, QualifierTable& qualifiers)
        : m_connection(connection), m_qualifiers(qualifiers), m_uses(connection) {}

    std::optional<StoredClass> find(int64_t ns, std::string_view name);
    /// Throws CIMException of `code` when there is no such class.
    StoredClass require(int64_t ns, std::string_view name, CIMException::ErrNoType code);
    /// The direct subclasses, by name; of 0 the classes at the top.
    Array<ClassName> children(int64_t ns, int64_t id);
    bool hasChildren(int64_t ns, int64_t id);
    /// `top` (unless its id is 0) and all below it, each after its superclass.
    Array<ClassName> descendants(int64_t ns, const ClassName& top);
    /// Whether the class is `ancestor` or below it.
    bool isA(int64_t id, int64_t ancestor);
    /// The name of a class of the namespace that uses the qualifier as declared; empty when none
    /// does.
    String findQualifierUser(int64_t ns, std::string_view qualifier) {
        return m_uses.findUser(ns, qualifier);
    }

    /// The names of all such classes, in lower case.
    StringArray findQualifierUsers(int64_t ns, std::string_view qualifier) {
        return m_uses.findUsers(ns, qualifier);
    }

    /// Derives the class. Throws CIMException for an invalid declaration.
    CIMClass derive(const CIMClass& declared, const CIMClass* super,
                    const QualifierTypeLookup& qualifierTypes);
    /// False when a class of that name exists.
    [[nodiscard]] bool insert(int64_t ns, const CIMClass& derived, int64_t super);
    void replace(int64_t ns, int64_t id, const CIMClass& derived, int64_t super);
    /// The class must have no subclasses.
    void remove(int64_t ns, const StoredClass& cls);

    /// The classes that declare a reference to the class of that name, with the reference's name.
    Array<std::pair<ClassName, String>> declaringReferencesTo(int64_t ns, std::string_view name);

    void forget() noexcept;

private:
    struct Declared {
        int64_t id;
        int64_t super;
        CIMClass cls;
    };
    using Key = std::pair<int64_t, String>;
    struct KeyHash {
        size_t operator()(const Key& key) const noexcept {
            return std::hash<String>()(key.second) ^ static_cast<size_t>(key.first);
        }
    };
    std::optional<Declared> read(int64_t ns, const String& name);
    const StoredClass& remember(int64_t ns, const String& name, StoredClass stored);
    void insertReferences(int64_t ns, int64_t id, const CIMClass& derived);
    int64_t superOf(int64_t id);
    void forgetDerived() noexcept;

    Connection& m_connection;
    QualifierTable& m_qualifiers;
    QualifierUses m_uses;
    std::unordered_map<Key, StoredClass, KeyHash> m_known;
    std::unordered_map<int64_t, int64_t> m_supers;
};

}  // namespace OpenWBEM
