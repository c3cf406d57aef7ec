// SPDX-License-Identifier: Apache-2.0
//
// The operations on classes (DSP0200 5.3.2.1, 5.3.2.3, 5.3.2.5 and so on).
#include "blocxx/Format.hpp"
#include "openwbem/model/Identifier.hpp"
#include "openwbem/model/ObjectFilter.hpp"
#include "openwbem/repository/ClassModification.hpp"
#include "openwbem/repository/RepositoryOperations.hpp"

namespace OpenWBEM::RepositoryOperations {

using blocxx::Format;

namespace {

void checkName(const String& name) {
    if (!isIdentifier(name)) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("\"%1\" is not a name", name));
    }
}

/// What is inherited was checked where it was declared.
void checkNames(const CIMClass& cls) {
    checkName(cls.getName());
    for (const CIMProperty& property : cls.getProperties()) {
        if (!property.isPropagated()) {
            checkName(property.getName());
        }
    }
    for (const CIMMethod& method : cls.getMethods()) {
        if (method.isPropagated()) {
            continue;
        }
        checkName(method.getName());
        for (const CIMParameter& parameter : method.getParameters()) {
            checkName(parameter.getName());
        }
    }
}

}  // namespace

CIMClass getClass(RepositoryStore& store, const OperationCall& call) {
    const int64_t nsId = store.namespaces.require(call.ns).id;
    return store.classes.require(nsId, call.as<String>(), CIMException::NOT_FOUND)
        .cls.filter(call.wanted);
}

void createClass(RepositoryStore& store, const OperationCall& call) {
    const CIMClass& cls = call.as<CIMClass>();
    const int64_t nsId = store.namespaces.require(call.ns).id;
    checkNames(cls);
    std::optional<StoredClass> super;
    if (!cls.getSuperClass().empty()) {
        super = store.classes.find(nsId, cls.getSuperClass());
        if (!super) {
            OPENWBEM_THROW_CIM(INVALID_SUPERCLASS, Format("the superclass %1 of class %2 does not "
                                                          "exist",
                                                          cls.getSuperClass(), cls.getName()));
        }
    }
    const CIMClass derived =
        store.classes.derive(cls, super ? &super->cls : nullptr, store.qualifiers.lookup(nsId));
    if (!store.classes.insert(nsId, derived, super ? super->id : 0)) {
        OPENWBEM_THROW_CIM(ALREADY_EXISTS, Format("the class %1 exists already", cls.getName()));
    }
    store.embedded.noteClass(nsId, derived);
}

void modifyClass(RepositoryStore& store, const OperationCall& call) {
    const int64_t nsId = store.namespaces.require(call.ns).id;
    checkNames(call.as<CIMClass>());
    ClassModification(store, nsId).apply(call.as<CIMClass>());
}

void deleteClass(RepositoryStore& store, const OperationCall& call) {
    const String& className = call.as<String>();
    const int64_t nsId = store.namespaces.require(call.ns).id;
    const StoredClass found = store.classes.require(nsId, className, CIMException::NOT_FOUND);
    if (store.classes.hasChildren(nsId, found.id)) {
        OPENWBEM_THROW_CIM(CLASS_HAS_CHILDREN, Format("the class %1 has subclasses", className));
    }
    if (store.instances.hasInstances(found.id)) {
        OPENWBEM_THROW_CIM(CLASS_HAS_INSTANCES, Format("the class %1 has instances", className));
    }
    EmbeddedObjects::Change change;
    change.classes.emplace(blocxx::toLower(className), std::nullopt);
    if (const String invalid = store.embedded.findInvalid(nsId, change); !invalid.empty()) {
        OPENWBEM_THROW_CIM(CLASS_HAS_INSTANCES,
                           Format("the class %1 is needed for %2", className, invalid));
    }
    store.classes.remove(nsId, found);
}

}  // namespace OpenWBEM::RepositoryOperations
