// SPDX-License-Identifier: Apache-2.0
//
// Part of Compilation: instances.
#include <unordered_map>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/model/NameIndex.hpp"
#include "openwbem/mof/Compilation.hpp"

namespace OpenWBEM::MOF {

using blocxx::Format;

namespace {

// Keys with aliases for values can be much longer than their text.
constexpr size_t MOST_KEY_BYTES = 128U << 20U;

/// Refuses a second instance with the same path, which would silently replace the first.
class InstancePaths {
public:
    explicit InstancePaths(const NamespaceContent& content) : m_content(content) {}

    /// Adds the content's last instance, which is declared at `at`. Throws CompileError when its
    /// path was added before.
    void addLast(const char* at) {
        const size_t last = m_content.instances.size() - 1;
        const CIMObjectPath path = pathOf(last);
        if (path.isClassPath()) {
            return;
        }
        const String key = path.canonicalKey();
        m_bytes += key.size();
        if (m_bytes > MOST_KEY_BYTES) {
            throw CompileError{at,
                               String(Format("the keys of the instances are longer than %1 bytes "
                                             "together",
                                             MOST_KEY_BYTES))};
        }
        const size_t hash = std::hash<String>()(key);
        const auto [first, end] = m_byHash.equal_range(hash);
        for (auto same = first; same != end; ++same) {
            if (pathOf(same->second).canonicalKey() == key) {
                throw CompileError{
                    at, String(Format("the instance %1 is declared twice in the namespace \"%2\"",
                                      inQuotes(path.modelPath()), m_content.nameSpace))};
            }
        }
        m_byHash.emplace(hash, last);
    }

private:
    CIMObjectPath pathOf(size_t index) const {
        return {m_content.nameSpace, m_content.instances[index]};
    }

    const NamespaceContent& m_content;
    std::unordered_multimap<size_t, size_t> m_byHash;  ///< to indexes of the content's instances
    size_t m_bytes = 0;
};

/// Removes the properties that were not given, except keys that are part of a path.
CIMInstance withoutDefaults(CIMInstance complete, const CIMInstance& given, NullKeys nullKeys) {
    if (given.getProperties().size() == complete.getProperties().size()) {
        return complete;
    }
    const NameIndex<CIMProperty> ownNames(given.getProperties());
    CIMPropertyArray properties = complete.getProperties();
    std::erase_if(properties, [&](const CIMProperty& property) {
        return !(property.isKey() && nullKeys == NullKeys::REFUSED) &&
               !ownNames.find(property.getName());
    });
    return complete.setProperties(std::move(properties));
}

}  // namespace

class Compilation::InstanceObjects final : public ObjectResolver {
public:
    InstanceObjects(Compilation& compilation, Defaults defaults)
        : m_compilation(compilation), m_defaults(defaults) {}

    CIMObjectPath resolveReference(const Literal& literal, const String& className) override {
        return m_compilation.resolveReference(literal, className);
    }
    CIMValue resolveEmbedded(const Literal& literal, const Embedding& embedding) override {
        return m_compilation.resolveEmbedded(literal, embedding, m_defaults);
    }

private:
    Compilation& m_compilation;
    Defaults m_defaults;
};

ClassEntry* Compilation::findClass(Namespace& ns, std::string_view name) {
    const Entered entered(*this, ns);
    return ns.classes.find(name);
}

ClassEntry& Compilation::classOf(Namespace& ns, const Declaration& declaration) {
    ClassEntry* const entry = findClass(ns, declaration.name.view());
    if (entry == nullptr) {
        throw CompileError{declaration.name.data,
                           String(Format("unknown class \"%1\"", declaration.name.view()))};
    }
    return *entry;
}

CIMValue Compilation::assignedValue(const CIMProperty& declared, const Assignment& assignment,
                                    Defaults defaults) {
    Embedding embedding;
    if (declared.getDataType().getType() == CIMDataType::STRING) {
        embedding = embeddingOf(declared.getQualifiers());
    }
    InstanceObjects objects(*this, defaults);
    return makeValue(assignment.value, declared.getDataType(), embedding, objects,
                     assignment.name.data);
}

CIMPropertyArray Compilation::assignedProperties(Namespace& ns, ClassEntry& entry,
                                                 const Declaration& declaration,
                                                 Defaults defaults) {
    CIMPropertyArray properties;
    const CIMProperty* const first = entry.cls.getProperties().data();
    Array<bool> assigned(entry.cls.getProperties().size());
    for (const Assignment& assignment : declaration.assignments) {
        const CIMProperty* const declared = entry.findProperty(assignment.name.view());
        if (declared == nullptr) {
            throw CompileError{assignment.name.data,
                               String(Format("the class \"%1\" has no property \"%2\"",
                                             entry.cls.getName(), assignment.name.view()))};
        }
        if (assigned[static_cast<size_t>(declared - first)]) {
            throw CompileError{
                assignment.name.data,
                String(Format("the property \"%1\" is given twice", assignment.name.view()))};
        }
        assigned[static_cast<size_t>(declared - first)] = true;
        // Instances do not keep the qualifiers of their properties. This only checks them.
        ns.classes.buildQualifiers(assignment.qualifiers);
        CIMValue value = assignedValue(*declared, assignment, defaults);
        if (declared->isKey() && value.isNull() && m_depth == 0) {
            throw CompileError{
                assignment.name.data,
                String(Format("the key property \"%1\" cannot be null", assignment.name.view()))};
        }
        properties.emplace_back(declared->getName(), declared->getDataType(), std::move(value));
    }
    return properties;
}

CIMInstance Compilation::buildInstance(Namespace& ns, const Declaration& declaration, bool embedded,
                                       Defaults defaults) {
    ClassEntry& entry = classOf(ns, declaration);
    if (!embedded && entry.cls.isAbstract()) {
        throw CompileError{declaration.name.data,
                           String(Format("the class \"%1\" is abstract and has no instances",
                                         entry.cls.getName()))};
    }
    CIMInstance instance(entry.cls.getName());
    instance.setQualifiers(ns.classes.buildQualifiers(declaration.qualifiers));
    instance.setProperties(assignedProperties(ns, entry, declaration, defaults));
    const NullKeys nullKeys = embedded ? NullKeys::ALLOWED : NullKeys::REFUSED;
    try {
        CIMInstance complete = completeInstance(instance, entry.cls, nullKeys);
        return defaults == Defaults::FILLED_IN
                   ? complete
                   : withoutDefaults(std::move(complete), instance, nullKeys);
    } catch (const CIMException& e) {
        throw CompileError{declaration.name.data, e.getMessage()};
    }
}

void Compilation::buildInstances(Namespace& ns, NamespaceContent& content) {
    content.instances.reserve(ns.scope.instances().size());
    content.places.instances.reserve(ns.scope.instances().size());
    InstancePaths paths(content);
    for (const Declaration* declaration : ns.scope.instances()) {
        blocxx::Interruption::check();
        content.instances.push_back(buildInstance(ns, *declaration, false, m_defaults));
        content.places.instances.push_back(declaration->name.data);
        paths.addLast(declaration->name.data);
        // An alias may be looked up until everything is built.
        if (declaration->alias.empty()) {
            NodeArena::release(*declaration);
        }
    }
}

}  // namespace OpenWBEM::MOF
