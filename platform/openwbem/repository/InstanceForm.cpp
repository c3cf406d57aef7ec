// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/InstanceForm.hpp"

namespace OpenWBEM {

namespace {

bool isReference(const CIMProperty& property) {
    return property.getValue().getType() == CIMDataType::REFERENCE &&
           !property.getValue().isArray();
}

/// Adds what every instance has from its class, which stored instances leave out.
CIMPropertyArray withClassParts(CIMPropertyArray properties, const CIMClass& cls,
                                bool includeQualifiers) {
    for (CIMProperty& property : properties) {
        if (const CIMProperty* declared = cls.getProperty(property.getName())) {
            property.setPropagated(declared->isPropagated());
            property.setClassOrigin(declared->getClassOrigin());
            if (includeQualifiers) {
                property.setQualifiers(declared->getQualifiers());
            }
        }
    }
    return properties;
}

}  // namespace

CIMInstance InstanceForm::of(CIMInstance stored, const CIMClass* cls) const {
    if (m_withPath) {
        stored.setPath(CIMObjectPath(m_ns, stored));
    }
    if (m_needsClass && cls != nullptr) {
        stored.setProperties(withClassParts(stored.getProperties(), *cls, m_includeQualifiers));
    }
    if (m_onlyPropertiesOf != nullptr) {
        CIMPropertyArray properties = stored.getProperties();
        std::erase_if(properties, [&](const CIMProperty& property) {
            return m_onlyPropertiesOf->getProperty(property.getName()) == nullptr;
        });
        stored.setProperties(std::move(properties));
    }
    return stored.filter(m_filter);
}

CIMObjectPath resolvedReference(RepositoryStore& store, CIMObjectPath path, const String& ns) {
    if (path.getNameSpace().empty()) {
        path.setNameSpace(ns);
    }
    if (path.getHost().empty()) {
        const auto row = store.namespaces.find(path.getNameSpace());
        const auto cls = row ? store.classes.find(row->id, path.getClassName()) : std::nullopt;
        if (cls && !path.isClassPath()) {
            try {
                path.syncWithClass(cls->cls);
            } catch (const CIMException&) {
                // The path cannot name an instance of that class. References may have such paths.
            }
        }
    }
    CIMPropertyArray keys = path.getKeys();
    for (CIMProperty& key : keys) {
        if (isReference(key)) {
            const auto& inner = key.getValue().get<CIMObjectPath>();
            key.setValue(CIMValue(resolvedReference(store, inner, path.getNameSpace())));
        }
    }
    path.setKeys(std::move(keys));
    return path;
}

CIMInstance withResolvedReferences(RepositoryStore& store, CIMInstance instance, const String& ns) {
    CIMPropertyArray properties = instance.getProperties();
    bool changed = false;
    for (CIMProperty& property : properties) {
        if (isReference(property)) {
            const auto& path = property.getValue().get<CIMObjectPath>();
            property.setValue(CIMValue(resolvedReference(store, path, ns)));
            changed = true;
        }
    }
    if (changed) {
        instance.setProperties(std::move(properties));
    }
    return instance;
}

}  // namespace OpenWBEM
