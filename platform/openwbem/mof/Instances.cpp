// SPDX-License-Identifier: Apache-2.0
//
// Instances of the text: each value in the type that the class declares.
#include <unordered_set>

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/mof/Compilation.hpp"

namespace OpenWBEM::MOF {

using blocxx::Format;

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
    std::unordered_set<String> paths;
    for (const Declaration* declaration : ns.scope.instances()) {
        CIMInstance instance = buildInstance(ns, *declaration, false);
        // Of two with one path the first would be lost unseen.
        const CIMObjectPath path(content.nameSpace, instance);
        if (!path.isClassPath() && !paths.insert(path.canonicalKey()).second) {
            throw CompileError{declaration->name.data,
                               String(Format("the instance %1 is declared twice in the namespace "
                                             "\"%2\"",
                                             quoted(path.modelPath()), content.nameSpace))};
        }
        content.instances.push_back(std::move(instance));
        content.places.instances.push_back(declaration->name.data);
    }
}

}  // namespace OpenWBEM::MOF
