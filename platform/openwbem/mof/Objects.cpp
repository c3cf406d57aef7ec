// SPDX-License-Identifier: Apache-2.0
//
// Part of Compilation: values that are paths, aliases, or objects embedded as MOF in a string.
#include <algorithm>

#include "blocxx/Format.hpp"
#include "openwbem/mof/Compilation.hpp"
#include "openwbem/mof/Parser.hpp"

namespace OpenWBEM::MOF {

using blocxx::Format;

namespace {

// More than any text can have: each level doubles the backslashes of the one within.
constexpr unsigned DEEPEST_OBJECT = 16;
// For aliases whose keys refer to other aliases, which need no backslashes.
constexpr unsigned DEEPEST_ALIAS = 100;
// How many namespaces that only paths name are kept for the next path.
constexpr size_t MOST_REMEMBERED = 100;

class Depth {
public:
    explicit Depth(unsigned& depth) : m_depth(depth) { ++m_depth; }
    ~Depth() { --m_depth; }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

private:
    unsigned& m_depth;
};

}  // namespace

CIMObjectPath Compilation::resolveReference(const Literal& literal, const String& className) {
    CIMObjectPath path;
    try {
        if (literal.kind == Literal::ALIAS) {
            path = resolveAlias(literal.text);
        } else {
            path = CIMObjectPath::parse(readString(literal));
            syncPath(path, *m_current, 0);
        }
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::INVALID_PARAMETER) {
            throw;  // the handle's own failure
        }
        throw CompileError{literal.text.data, e.getMessage()};
    }
    checkReferenceClass(path, className, literal.text.data);
    return path;
}

/// The namespace of the text that the path names; null for any other.
Compilation::Namespace* Compilation::namespaceInText(const CIMObjectPath& path) {
    if (!path.getHost().empty()) {
        return nullptr;
    }
    if (path.getNameSpace().empty()) {
        return m_current;
    }
    const auto found = m_namespaceIndex.find(path.getNameSpace());
    return found != m_namespaceIndex.end() ? found->second : nullptr;
}

/// The namespace whose classes describe a path in `from`. Ignores the host, which most likely has
/// the same classes.
Compilation::Namespace& Compilation::namespaceOf(const CIMObjectPath& path, Namespace& from) {
    const String& name = path.getNameSpace();
    if (name.empty()) {
        return from;
    }
    if (const auto found = m_namespaceIndex.find(name); found != m_namespaceIndex.end()) {
        return *found->second;
    }
    std::unique_ptr<Namespace>& other = m_foreignNamespaces[name];
    if (!other) {
        constexpr NamespaceMention MENTION{NamespaceMention::PATH, nullptr};
        other = std::make_unique<Namespace>(name, m_handle, MENTION, *this);
    }
    return *other;
}

/// Checks only the class, as far as it is known: the instance may not exist yet.
void Compilation::checkReferenceClass(const CIMObjectPath& path, const String& className,
                                      const char* at) {
    Namespace* const home = namespaceInText(path);
    if (home == nullptr || path.isClassPath()) {
        return;
    }
    const CIMClass* const cls = home->classes.outline(path.getClassName());
    if (cls != nullptr && !home->classes.isWithin(path.getClassName(), className)) {
        throw CompileError{at, String(Format("expected a reference to \"%1\"; found one to \"%2\"",
                                             className, cls->getName()))};
    }
}

/// Gives the keys the types of the class, when it is known. A path that does not fit its class is
/// an error in the namespaces of the text. Elsewhere it stays as it is written: it may name an
/// object that does not exist.
void Compilation::syncPath(CIMObjectPath& path, Namespace& from, unsigned depth) {
    if (path.isClassPath() || depth > DEEPEST_OBJECT) {
        return;
    }
    if (depth == 0 && m_foreignNamespaces.size() >= MOST_REMEMBERED) {
        m_foreignNamespaces.clear();
    }
    Namespace& home = namespaceOf(path, from);
    const CIMClass* const cls = home.classes.outline(path.getClassName());
    if (cls == nullptr) {
        return;
    }
    try {
        path.syncWithClass(*cls);
    } catch (const CIMException&) {
        if (namespaceInText(path) != nullptr) {
            throw;
        }
        return;
    }
    CIMPropertyArray keys = path.getKeys();
    bool changed = false;
    for (CIMProperty& key : keys) {
        if (key.getValue().getType() == CIMDataType::REFERENCE) {
            auto inner = key.getValue().get<CIMObjectPath>();
            syncPath(inner, home, depth + 1);
            key.setValue(CIMValue(inner));
            changed = true;
        }
    }
    if (changed) {
        path.setKeys(std::move(keys));
    }
}

CIMObjectPath Compilation::resolveAlias(const Text& name) {
    const auto found = m_aliases.find(name.view());
    if (found == m_aliases.end()) {
        throw CompileError{name.data, String(Format("the alias %1 is not declared", name.view()))};
    }
    Alias& alias = found->second;
    if (alias.state == Alias::BEING_RESOLVED) {
        throw CompileError{name.data,
                           String(Format("the key of %1 depends on itself", name.view()))};
    }
    if (alias.state == Alias::DECLARED) {
        if (m_aliasDepth >= DEEPEST_ALIAS) {
            throw CompileError{name.data, "too many aliases lead to each other through their keys"};
        }
        const Depth depth(m_aliasDepth);
        alias.state = Alias::BEING_RESOLVED;
        alias.path = pathOf(alias);
        alias.state = Alias::RESOLVED;
    }
    CIMObjectPath path = alias.path;
    if (alias.home != m_current) {
        path.setNameSpace(alias.home->scope.nameSpace());
    }
    return path;
}

/// The class of an alias's instance, or its outline when the text gives all keys. Only the default
/// of a key needs the whole class, which may be in the process of being built.
const CIMClass& Compilation::classForPath(Alias& alias, const Assignments& assignments) {
    const Declaration& declaration = *alias.declaration;
    if (const CIMClass* const outline = alias.home->classes.outline(declaration.name.view())) {
        const CIMPropertyArray keys = outline->getKeys();
        const bool complete = std::all_of(keys.begin(), keys.end(), [&](const CIMProperty& key) {
            return assignments.count(key.getName()) != 0;
        });
        if (complete) {
            return *outline;
        }
    }
    return classOf(*alias.home, declaration).cls;
}

/// The path of an alias's object. Makes only the values of the keys, since the others may refer to
/// the alias again.
CIMObjectPath Compilation::pathOf(Alias& alias) {
    const Declaration& declaration = *alias.declaration;
    CIMObjectPath path;
    if (declaration.kind == Declaration::CLASS) {
        return path.setClassName(String(declaration.name.view()));
    }
    const Entered entered(*this, *alias.home);
    Assignments assignments;
    for (const Assignment& assignment : declaration.assignments) {
        assignments.emplace(assignment.name.view(), &assignment);
    }
    const CIMClass& cls = classForPath(alias, assignments);
    path.setClassName(cls.getName());
    CIMPropertyArray keys = cls.getKeys();
    if (keys.empty()) {
        throw CompileError{declaration.alias.data,
                           String(Format("the class \"%1\" has no key, so nothing can refer to its "
                                         "instances",
                                         cls.getName()))};
    }
    for (CIMProperty& key : keys) {
        const auto found = assignments.find(key.getName());
        key =
            CIMProperty(key.getName(), key.getDataType(),
                        found != assignments.end() ? assignedValue(key, *found->second, m_defaults)
                                                   : key.getValue());
        key.setKey(true);
        if (key.getValue().isNull()) {
            throw CompileError{
                declaration.name.data,
                String(Format("the key property \"%1\" has no value", key.getName()))};
        }
    }
    return path.setKeys(std::move(keys));
}

CIMValue Compilation::resolveEmbedded(const Literal& literal, const Embedding& embedding) {
    return resolveEmbedded(literal, embedding, Defaults::FILLED_IN);
}

CIMValue Compilation::resolveEmbedded(const Literal& literal, const Embedding& embedding,
                                      Defaults defaults) {
    if (m_depth >= DEEPEST_OBJECT) {
        throw CompileError{literal.text.data, "too many objects embedded in each other"};
    }
    String text = readString(literal);
    const size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin != String::npos && text[begin] == '{' && embedding.kind == Embedding::INSTANCE) {
        text.insert(0, "instance of " + embedding.className + " ");
    }
    SourceText source(Source{"embedded object", std::move(text)});
    const Depth depth(m_depth);
    try {
        return compileEmbedded(source, embedding, defaults);
    } catch (const CompileError& error) {
        if (!source.contains(error.at)) {
            throw;
        }
        const SourceText::Place place = source.locate(error.at);
        throw CompileError{literal.text.data,
                           String(Format("in the embedded object, line %1, column %2: %3",
                                         place.line, place.column, error.what))};
    }
}

CIMValue Compilation::compileEmbedded(SourceText& source, const Embedding& embedding,
                                      Defaults defaults) {
    NodeArena arena;
    const List<Declaration> declarations = parse(source, arena);
    const Declaration* const declaration = declarations.first;
    if (declaration == nullptr || declaration->next != nullptr ||
        declaration->kind == Declaration::PRAGMA ||
        declaration->kind == Declaration::QUALIFIER_TYPE ||
        (declaration->kind == Declaration::CLASS && embedding.kind == Embedding::INSTANCE)) {
        const char* const at = declaration == nullptr         ? source.begin()
                               : declaration->next != nullptr ? declaration->next->name.data
                                                              : declaration->name.data;
        throw CompileError{at, embedding.kind == Embedding::INSTANCE
                                   ? "expected one instance and nothing else"
                                   : "expected one instance or class and nothing else"};
    }
    if (!declaration->alias.empty()) {
        throw CompileError{declaration->alias.data, "an embedded object cannot have an alias"};
    }
    if (declaration->kind == Declaration::CLASS) {
        return CIMValue(m_current->classes.buildUnnamed(*declaration));
    }
    checkEmbeddedClass(*declaration, embedding);
    return CIMValue(buildInstance(*m_current, *declaration, true, defaults));
}

void Compilation::checkEmbeddedClass(const Declaration& declaration, const Embedding& embedding) {
    const ClassEntry& entry = classOf(*m_current, declaration);
    if (embedding.kind == Embedding::INSTANCE &&
        !m_current->classes.isWithin(entry.cls.getName(), embedding.className)) {
        throw CompileError{declaration.name.data,
                           String(Format("expected an instance of \"%1\"; found one of \"%2\"",
                                         embedding.className, entry.cls.getName()))};
    }
}

}  // namespace OpenWBEM::MOF
