// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/ClassTable.hpp"

#include <algorithm>
#include <unordered_set>

#include "blocxx/Format.hpp"
#include "openwbem/repository/Statement.hpp"
#include "openwbem/repository/StoredForm.hpp"

namespace OpenWBEM {

using blocxx::Format;
using blocxx::toLower;

namespace {

/// The classes of most runs; a whole schema is forgotten once. The limit bounds the memory.
constexpr size_t MAX_KNOWN = 1000;

constexpr const char* REMOVE_REFERENCES = "DELETE FROM class_reference WHERE class=?";

/// For rows that only a foreign hand can have written. Going on would never end.
[[noreturn]] void failForCycle() {
    OPENWBEM_THROW_CIM(FAILED,
                       "the repository holds a class that is below itself; put a backup of the "
                       "repository back");
}

}  // namespace

void ClassTable::forget() noexcept {
    forgetDerived();
    m_uses.forget();
}

void ClassTable::forgetDerived() noexcept {
    m_known.clear();
    m_supers.clear();
}

const StoredClass& ClassTable::remember(int64_t ns, const String& name, StoredClass stored) {
    if (m_known.size() >= MAX_KNOWN) {
        m_known.clear();
    }
    return m_known.insert_or_assign(Key(ns, name), std::move(stored)).first->second;
}

std::optional<ClassTable::Declared> ClassTable::read(int64_t ns, const String& name) {
    Statement query(m_connection, "SELECT id, super, body FROM class WHERE ns=? AND name=?");
    if (!query.bind(ns).bind(name).step()) {
        return std::nullopt;
    }
    return Declared{query.number(0), query.number(1), StoredForm::cls(query.blob(2))};
}

std::optional<StoredClass> ClassTable::find(int64_t ns, std::string_view name) {
    // Goes up to a known ancestor, then derives the classes on the way down.
    Array<Declared> chain;
    std::optional<StoredClass> derived;
    for (String next = toLower(name); !next.empty();
         next = toLower(chain.back().cls.getSuperClass())) {
        if (const auto known = m_known.find(Key(ns, next)); known != m_known.end()) {
            derived = known->second;
            break;
        }
        auto declared = read(ns, next);
        if (!declared && chain.empty()) {
            return std::nullopt;
        }
        const bool isCycle = std::any_of(chain.begin(), chain.end(), [&](const Declared& below) {
            return declared && below.id == declared->id;
        });
        if (!declared || isCycle) {
            OPENWBEM_THROW_CIM(FAILED,
                               Format("the repository holds a class whose superclass \"%1\" "
                                      "is missing; put a backup of the repository back",
                                      next));
        }
        chain.push_back(*std::move(declared));
    }
    const QualifierTypeLookup lookup = m_qualifiers.lookup(ns);
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        const CIMClass* super = derived ? &derived->cls : nullptr;
        StoredClass next{it->id, it->super, derive(it->cls, super, lookup)};
        derived = remember(ns, toLower(it->cls.getName()), std::move(next));
    }
    return derived;
}

StoredClass ClassTable::require(int64_t ns, std::string_view name, CIMException::ErrNoType code) {
    auto found = find(ns, name);
    if (!found) {
        throw CIMException(__FILE__, __LINE__, code, Format("there is no class \"%1\"", name));
    }
    return *std::move(found);
}

Array<ClassName> ClassTable::children(int64_t ns, int64_t id) {
    Array<ClassName> result;
    Statement query(m_connection,
                    "SELECT id, spelling FROM class WHERE ns=? AND super=? ORDER BY spelling");
    query.bind(ns).bind(id);
    while (query.step()) {
        result.push_back({query.number(0), String(query.text(1))});
    }
    return result;
}

bool ClassTable::hasChildren(int64_t ns, int64_t id) {
    return Statement(m_connection, "SELECT 1 FROM class WHERE ns=? AND super=? LIMIT 1")
        .bind(ns)
        .bind(id)
        .step();
}

Array<ClassName> ClassTable::descendants(int64_t ns, const ClassName& top) {
    Array<ClassName> result;
    Array<ClassName> pending{top};
    std::unordered_set<int64_t> seen;
    while (!pending.empty()) {
        ClassName next = std::move(pending.back());
        pending.pop_back();
        if (!seen.insert(next.id).second) {
            failForCycle();
        }
        Array<ClassName> below = children(ns, next.id);
        std::move(below.rbegin(), below.rend(), std::back_inserter(pending));
        if (next.id != 0) {
            result.push_back(std::move(next));
        }
    }
    return result;
}

int64_t ClassTable::superOf(int64_t id) {
    if (const auto known = m_supers.find(id); known != m_supers.end()) {
        return known->second;
    }
    Statement query(m_connection, "SELECT super FROM class WHERE id=?");
    if (!query.bind(id).step()) {
        return 0;
    }
    return m_supers[id] = query.number(0);
}

bool ClassTable::isA(int64_t id, int64_t ancestor) {
    for (size_t steps = 0; id != 0 && id != ancestor; ++steps) {
        // It holds every class on the way.
        if (steps > m_supers.size()) {
            failForCycle();
        }
        id = superOf(id);
    }
    return id == ancestor;
}

CIMClass ClassTable::derive(const CIMClass& declared, const CIMClass* super,
                            const QualifierTypeLookup& qualifierTypes) {
    try {
        return deriveClass(declared, super, qualifierTypes, NullDefaults::KEEP);
    } catch (const ClassDerivationException& e) {
        throw CIMException(__FILE__, __LINE__,
                           static_cast<CIMException::ErrNoType>(e.getErrorCode()), e.getMessage());
    }
}

bool ClassTable::insert(int64_t ns, const CIMClass& derived, int64_t super) {
    String name = toLower(derived.getName());
    const String body = StoredForm::of(derived);
    int64_t id = 0;
    {
        Statement insert(
            m_connection,
            "INSERT INTO class (ns, super, name, spelling, body) VALUES (?, ?, ?, ?, ?)");
        insert.bind(ns).bind(super).bind(name).bind(derived.getName()).bindBlob(body);
        if (!insert.insert()) {
            return false;
        }
        id = m_connection.lastInserted();
    }
    insertReferences(ns, id, derived);
    m_uses.noteChange(ns, name);
    remember(ns, name, {id, super, derived});
    return true;
}

void ClassTable::insertReferences(int64_t ns, int64_t id, const CIMClass& derived) {
    for (const CIMProperty& property : derived.getProperties()) {
        if (property.isPropagated() || !property.getDataType().isReference()) {
            continue;
        }
        const String target = toLower(property.getDataType().getRefClassName());
        const String role = toLower(property.getName());
        Statement(m_connection,
                  "INSERT INTO class_reference (ns, target, class, role) VALUES (?, ?, ?, ?)")
            .bind(ns)
            .bind(target)
            .bind(id)
            .bind(role)
            .run();
    }
}

void ClassTable::replace(int64_t ns, int64_t id, const CIMClass& derived, int64_t super) {
    const String body = StoredForm::of(derived);
    Statement(m_connection, "UPDATE class SET super=?, spelling=?, body=? WHERE id=?")
        .bind(super)
        .bind(derived.getName())
        .bindBlob(body)
        .bind(id)
        .run();
    Statement(m_connection, REMOVE_REFERENCES).bind(id).run();
    insertReferences(ns, id, derived);
    m_uses.noteChange(ns, toLower(derived.getName()));
    forgetDerived();
}

void ClassTable::remove(int64_t ns, const StoredClass& cls) {
    Statement(m_connection, REMOVE_REFERENCES).bind(cls.id).run();
    Statement(m_connection, "DELETE FROM class WHERE id=? AND ns=?").bind(cls.id).bind(ns).run();
    const String name = toLower(cls.cls.getName());
    m_uses.noteChange(ns, name);
    // No class was derived from it. Another class may get its id.
    m_known.erase(Key(ns, name));
    m_supers.erase(cls.id);
}

Array<std::pair<ClassName, String>> ClassTable::declaringReferencesTo(int64_t ns,
                                                                      std::string_view name) {
    const String target = toLower(name);
    Array<std::pair<ClassName, String>> result;
    Statement query(m_connection,
                    "SELECT c.id, c.spelling, r.role FROM class_reference r JOIN class c "
                    "ON c.id=r.class WHERE r.ns=? AND r.target=?");
    query.bind(ns).bind(target);
    while (query.step()) {
        result.emplace_back(ClassName{query.number(0), String(query.text(1))}, query.text(2));
    }
    return result;
}

}  // namespace OpenWBEM
