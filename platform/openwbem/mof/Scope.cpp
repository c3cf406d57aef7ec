// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/Scope.hpp"

#include "blocxx/Format.hpp"

namespace OpenWBEM::MOF {

using blocxx::Format;

const CIMProperty* ClassEntry::findProperty(std::string_view name) {
    if (!properties) {
        properties.emplace(cls.getProperties());
    }
    const auto found = properties->find(name);
    return found ? &cls.getProperties()[*found] : nullptr;
}

Scope::Scope(String nameSpace, CIMOMHandleIFCRef handle, NamespaceMention mention)
    : m_nameSpace(std::move(nameSpace)), m_handle(std::move(handle)), m_mention(mention) {}

void Scope::declare(const Declaration& declaration) {
    const std::string_view name = declaration.name.view();
    if (declaration.kind == Declaration::INSTANCE) {
        m_instances.push_back(&declaration);
        return;
    }
    const bool isClass = declaration.kind == Declaration::CLASS;
    bool isNew = false;
    if (isClass) {
        const auto [place, inserted] = m_classes.try_emplace(String(name));
        isNew = inserted;
        if (isNew) {
            place->second = std::make_unique<ClassEntry>();
            place->second->declaration = &declaration;
            m_classOrder.push_back(place->second.get());
        }
    } else {
        isNew = m_qualifierTypes.try_emplace(String(name), QualifierEntry{&declaration, {}, false})
                    .second;
        m_qualifierTypeOrder.push_back(&declaration);
    }
    if (!isNew) {
        throw CompileError{declaration.name.data,
                           String(Format("the %1 \"%2\" is declared twice in the namespace \"%3\"",
                                         isClass ? "class" : "qualifier type", name, m_nameSpace))};
    }
}

void Scope::define(const Declaration& declaration, CIMQualifierType qualifierType) {
    QualifierEntry& entry = m_qualifierTypes.find(declaration.name.view())->second;
    entry.type = std::move(qualifierType);
    entry.known = true;
}

/// Whether the handle's failure only means that the object does not exist. Throws CompileError for
/// a pragma that names a namespace that does not exist.
bool Scope::isAbsence(const CIMException& e) const {
    switch (e.getErrNo()) {
        case CIMException::NOT_FOUND:
        case CIMException::INVALID_CLASS:
            return true;
        case CIMException::INVALID_NAMESPACE:
            if (m_mention.kind == NamespaceMention::PRAGMA) {
                throw CompileError{
                    m_mention.at,
                    String(Format("the namespace \"%1\" does not exist", m_nameSpace))};
            }
            return m_mention.kind == NamespaceMention::PATH;
        case CIMException::ACCESS_DENIED:
            return m_mention.kind == NamespaceMention::PATH;
        default:
            return false;
    }
}

Scope::QualifierEntry Scope::fetchQualifierType(const String& name) const {
    QualifierEntry entry;
    if (!m_handle) {
        return entry;
    }
    try {
        entry.type = m_handle->getQualifierType(m_nameSpace, name);
        entry.known = true;
    } catch (const CIMException& e) {
        if (!isAbsence(e)) {
            throw;
        }
    }
    return entry;
}

std::unique_ptr<ClassEntry> Scope::fetchClass(const String& name) const {
    if (!m_handle) {
        return nullptr;
    }
    try {
        auto entry = std::make_unique<ClassEntry>();
        entry->cls = m_handle->getClass(m_nameSpace, name, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                        E_INCLUDE_CLASS_ORIGIN, nullptr);
        entry->state = ClassEntry::BUILT;
        return entry;
    } catch (const CIMException& e) {
        if (!isAbsence(e)) {
            throw;
        }
        return nullptr;
    }
}

const CIMQualifierType* Scope::findQualifierType(std::string_view name) {
    auto found = m_qualifierTypes.find(name);
    if (found == m_qualifierTypes.end()) {
        const String key(name);
        found = m_qualifierTypes.emplace(key, fetchQualifierType(key)).first;
    }
    return found->second.known ? &found->second.type : nullptr;
}

ClassEntry* Scope::findClass(std::string_view name) {
    auto found = m_classes.find(name);
    if (found == m_classes.end()) {
        const String key(name);
        found = m_classes.emplace(key, fetchClass(key)).first;
    }
    return found->second.get();
}

}  // namespace OpenWBEM::MOF
