// SPDX-License-Identifier: Apache-2.0
//
// Instances of the text: each value in the type that the class declares.
#include <unordered_map>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/mof/Compilation.hpp"

namespace OpenWBEM::MOF {

using blocxx::Format;

namespace {

// Keys with aliases for values can be much longer than their text.
constexpr size_t MOST_KEY_BYTES = 128U << 20U;

/// Finds a second instance with the same path: the first would be lost unseen.
class InstancePaths {
public:
    explicit InstancePaths(const NamespaceContent& content) : m_content(content) {}

    /// Takes the content's last instance, which is named `at`. Throws CompileError.
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
    std::unordered_multimap<size_t, size_t> m_byHash;  ///< to places in the content's instances
    size_t m_bytes = 0;
};

}  // namespace

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

CIMValue Compilation::assignedValue(const CIMProperty& declared, const Assignment& assignment) {
    Embedding embedding;
    if (declared.getDataType().getType() == CIMDataType::STRING) {
        embedding = embeddingOf(declared.getQualifiers());
    }
    return makeValue(assignment.value, declared.getDataType(), embedding, *this,
                     assignment.name.data);
}

CIMPropertyArray Compilation::assignedProperties(Namespace& ns, ClassEntry& entry,
                                                 const Declaration& declaration) {
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
        // Instances do not keep qualifiers of their properties, but these must make sense.
        ns.classes.buildQualifiers(assignment.qualifiers);
        CIMValue value = assignedValue(*declared, assignment);
        if (declared->isKey() && value.isNull() && m_depth == 0) {
            throw CompileError{
                assignment.name.data,
                String(Format("the key property \"%1\" cannot be null", assignment.name.view()))};
        }
        properties.emplace_back(declared->getName(), declared->getDataType(), std::move(value));
    }
    return properties;
}

CIMInstance Compilation::buildInstance(Namespace& ns, const Declaration& declaration,
                                       bool embedded) {
    ClassEntry& entry = classOf(ns, declaration);
    if (!embedded && entry.cls.isAbstract()) {
        throw CompileError{declaration.name.data,
                           String(Format("the class \"%1\" is abstract and has no instances",
                                         entry.cls.getName()))};
    }
    CIMInstance instance(entry.cls.getName());
    instance.setQualifiers(ns.classes.buildQualifiers(declaration.qualifiers));
    instance.setProperties(assignedProperties(ns, entry, declaration));
    try {
        return completeInstance(instance, entry.cls,
                                embedded ? NullKeys::ALLOWED : NullKeys::REFUSED);
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
        content.instances.push_back(buildInstance(ns, *declaration, false));
        content.places.instances.push_back(declaration->name.data);
        paths.addLast(declaration->name.data);
        // An alias may be looked up for as long as there is anything left to build.
        if (declaration->alias.empty()) {
            NodeArena::release(*declaration);
        }
    }
}

}  // namespace OpenWBEM::MOF
