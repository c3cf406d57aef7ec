// SPDX-License-Identifier: Apache-2.0
//
// The operations on instances (DSP0200 5.3.2.2, 5.3.2.4, 5.3.2.6 and so on).
#include <algorithm>

#include "blocxx/Format.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/repository/InstanceForm.hpp"
#include "openwbem/repository/RepositoryOperations.hpp"

namespace OpenWBEM::RepositoryOperations {

using blocxx::Format;

namespace {

struct Found {
    NamespaceRow ns;
    StoredClass cls;
};

Found findClass(RepositoryStore& store, const String& ns, const String& className) {
    NamespaceRow row = store.namespaces.require(ns);
    StoredClass cls = store.classes.require(row.id, className, CIMException::INVALID_CLASS);
    return {std::move(row), std::move(cls)};
}

/// The path as its class has it, in the namespace of the operation.
CIMObjectPath inLine(const CIMObjectPath& path, const Found& found) {
    return CIMObjectPath(path)
        .setHost(String())
        .setNameSpace(found.ns.spelling)
        .syncWithClass(found.cls.cls);
}

/// What `find` finds under the key of an instance with that path. A path that was read from text
/// does not tell which keys of the paths in it are paths themselves; their classes do. It is tried
/// as it is first: an instance that was created before those classes has its key without their
/// help.
template <class Find>
auto require(RepositoryStore& store, const CIMObjectPath& path, Find find) {
    const String key = path.canonicalKey();
    auto row = find(key);
    if (!row) {
        const String resolved = resolvedReference(store, path, path.getNameSpace()).canonicalKey();
        row = resolved != key ? find(resolved) : std::move(row);
    }
    if (!row) {
        OPENWBEM_THROW_CIM(NOT_FOUND, Format("there is no instance %1", path.modelPath()));
    }
    return *std::move(row);
}

InstanceRow requireInstance(RepositoryStore& store, const Found& found, const CIMObjectPath& path) {
    return require(store, path,
                   [&](const String& key) { return store.instances.find(found.ns.id, key); });
}

/// The path that the key values of an instance make, whether they are marked as keys or not.
CIMObjectPath pathOf(const CIMInstance& instance, const Found& found) {
    CIMObjectPath path(found.cls.cls.getName());
    CIMPropertyArray keys;
    for (const CIMProperty& key : found.cls.cls.getKeys()) {
        if (const CIMProperty* own = instance.getProperty(key.getName())) {
            keys.push_back(*own);
        }
    }
    return inLine(path.setKeys(std::move(keys)), found);
}

bool isNamed(const StringArray* list, const String& name) {
    return list == nullptr || std::any_of(list->begin(), list->end(), [&](const String& named) {
               return blocxx::equalsIgnoreCase(named, name);
           });
}

void checkPropertyList(const StringArray* list, const CIMClass& cls) {
    for (const String& name : list == nullptr ? StringArray() : *list) {
        if (cls.getProperty(name) == nullptr) {
            OPENWBEM_THROW_CIM(NO_SUCH_PROPERTY,
                               Format("class %1 has no property \"%2\"", cls.getName(), name));
        }
    }
}

/// `stored` with the wanted properties of `given`. The keys are those by which it was
/// found, so they stay. Throws CIMException INVALID_PARAMETER for another property that is marked
/// as a key: whoever sends it means another instance.
CIMInstance merge(const CIMInstance& stored, const CIMInstance& given, const WantedParts& wanted) {
    CIMInstance merged = stored;
    for (const CIMProperty& property : given.getProperties()) {
        const CIMProperty* old = stored.getProperty(property.getName());
        const bool isKey = old != nullptr && old->isKey();
        if (property.isKey() && old != nullptr && !isKey) {
            OPENWBEM_THROW_CIM(
                INVALID_PARAMETER,
                Format("property \"%1\" is no key of the instance", property.getName()));
        }
        if (!isKey && isNamed(wanted.propertyList, property.getName())) {
            merged.setProperty(property);
        }
    }
    if (wanted.qualifiers == E_INCLUDE_QUALIFIERS) {
        merged.setQualifiers(given.getQualifiers());
    }
    return merged;
}

void checkCanHaveInstances(const CIMClass& cls) {
    if (cls.isAbstract()) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           Format("class %1 is abstract and has no instances", cls.getName()));
    }
    if (!cls.hasKeys()) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("class %1 has no key, so its instances could "
                                                     "not be told apart",
                                                     cls.getName()));
    }
}

}  // namespace

CIMInstance getInstance(RepositoryStore& store, const OperationCall& call) {
    const CIMObjectPath& path = call.as<CIMObjectPath>();
    const Found found = findClass(store, call.ns, path.getClassName());
    const InstanceForm form(call.wanted, found.ns.spelling);
    return form.of(requireInstance(store, found, inLine(path, found)).instance, &found.cls.cls);
}

CIMObjectPath createInstance(RepositoryStore& store, const OperationCall& call) {
    const CIMInstance& instance = call.as<CIMInstance>();
    const Found found = findClass(store, call.ns, instance.getClassName());
    checkCanHaveInstances(found.cls.cls);
    const CIMInstance complete = store.embedded.completeStored(
        found.ns.id,
        withResolvedReferences(store, completeInstance(instance, found.cls.cls), found.ns.spelling),
        found.cls.cls);
    CIMObjectPath path(found.ns.spelling, complete);
    if (!store.instances.insert(found.ns.id, found.cls.id, path, complete)) {
        OPENWBEM_THROW_CIM(ALREADY_EXISTS,
                           Format("the instance %1 exists already", path.modelPath()));
    }
    return path;
}

void modifyInstance(RepositoryStore& store, const OperationCall& call) {
    const CIMInstance& instance = call.as<CIMInstance>();
    const Found found = findClass(store, call.ns, instance.getClassName());
    checkPropertyList(call.wanted.propertyList, found.cls.cls);
    const InstanceRow row = requireInstance(store, found, pathOf(instance, found));
    const CIMInstance merged = store.embedded.completeStored(
        found.ns.id, completeInstance(merge(row.instance, instance, call.wanted), found.cls.cls),
        found.cls.cls);
    store.instances.update(found.ns.id, row.id,
                           withResolvedReferences(store, merged, found.ns.spelling));
}

void deleteInstance(RepositoryStore& store, const OperationCall& call) {
    const CIMObjectPath& path = call.as<CIMObjectPath>();
    const Found found = findClass(store, call.ns, path.getClassName());
    const CIMObjectPath own = inLine(path, found);
    store.instances.remove(require(
        store, own, [&](const String& key) { return store.instances.findId(found.ns.id, key); }));
}

}  // namespace OpenWBEM::RepositoryOperations
