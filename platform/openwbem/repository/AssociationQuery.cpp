// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/AssociationQuery.hpp"

#include <unordered_set>

#include "blocxx/Format.hpp"
#include "openwbem/model/Identifier.hpp"
#include "openwbem/repository/InstanceForm.hpp"

namespace OpenWBEM {

using blocxx::equalsIgnoreCase;
using blocxx::Format;

namespace {

void checkFilter(const AssociationFilter& filter) {
    for (const String* name :
         {&filter.assocClass, &filter.resultClass, &filter.role, &filter.resultRole}) {
        if (!name->empty() && !isIdentifier(*name)) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("\"%1\" is not a name", *name));
        }
    }
}

bool fits(const String& filter, std::string_view name) {
    return filter.empty() || equalsIgnoreCase(filter, name);
}

/// The object's path in the form of the index.
CIMObjectPath targetPath(RepositoryStore& store, const String& ns, const CIMObjectPath& path) {
    if (path.isClassPath()) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           Format("%1 is not the path of an instance", path.modelPath()));
    }
    CIMObjectPath target = path;
    target.setHost(String());
    if (target.getNameSpace().empty()) {
        target.setNameSpace(ns);
    }
    const NamespaceRow row = store.namespaces.require(target.getNameSpace());
    if (const auto cls = store.classes.find(row.id, target.getClassName())) {
        target.syncWithClass(cls->cls);
    }
    return resolvedReference(store, target, ns);
}

}  // namespace

AssociationQuery::AssociationQuery(RepositoryStore& store, const OperationCall& call)
    : m_store(store), m_ns(store.namespaces.require(call.ns)), m_filter(*call.filter) {
    checkFilter(m_filter);
    m_target = InstanceTable::targetKey(targetPath(store, m_ns.spelling, call.as<CIMObjectPath>()));
    m_end = store.instances.nextId();
}

bool AssociationQuery::nextReferences(const String& assocClass,
                                      const std::function<void(const ReferenceRow&)>& visit) {
    int64_t classId = 0;
    if (!assocClass.empty()) {
        const auto found = m_store.classes.find(m_ns.id, assocClass);
        if (!found) {
            return false;
        }
        classId = found->id;
    }
    const Array<ReferenceRow> portion =
        m_store.instances.referencesAfter(m_ns.id, m_target, m_end, m_last);
    if (portion.empty()) {
        return false;
    }
    m_last = portion.back();
    for (const ReferenceRow& row : portion) {
        const bool ofClass = classId == 0 || m_store.classes.isA(row.cls, classId);
        if (ofClass && fits(m_filter.role, row.role)) {
            visit(row);
        }
    }
    return true;
}

bool AssociationQuery::nextReferring(const std::function<void(const InstanceRow&)>& visit) {
    // The references of one instance are adjacent.
    return nextReferences(m_filter.resultClass, [&](const ReferenceRow& row) {
        if (std::exchange(m_lastReferring, row.instance) == row.instance) {
            return;
        }
        if (const auto association = m_store.instances.read(row.instance)) {
            visit(*association);
        }
    });
}

bool AssociationQuery::isOfResultClass(const CIMObjectPath& path) {
    if (m_filter.resultClass.empty()) {
        return true;
    }
    const auto ns = m_store.namespaces.find(path.getNameSpace());
    const auto cls = ns ? m_store.classes.find(ns->id, path.getClassName()) : std::nullopt;
    const auto wanted = cls ? m_store.classes.find(ns->id, m_filter.resultClass) : std::nullopt;
    return wanted && m_store.classes.isA(cls->id, wanted->id);
}

void AssociationQuery::visitOtherEnds(const ReferenceRow& row,
                                      const std::function<void(const CIMObjectPath&)>& visit) {
    const auto association = m_store.instances.read(row.instance);
    if (!association) {
        return;
    }
    for (const CIMProperty& property : association->instance.getProperties()) {
        const CIMValue& value = property.getValue();
        if (value.isArray() || value.getType() != CIMDataType::REFERENCE ||
            equalsIgnoreCase(property.getName(), row.role) ||
            !fits(m_filter.resultRole, property.getName())) {
            continue;
        }
        const auto& path = value.get<CIMObjectPath>();
        if (isOfResultClass(path) && m_seen.insert(InstanceTable::targetKey(path)).second) {
            visit(path);
        }
    }
}

bool AssociationQuery::nextOtherEnds(const std::function<void(const CIMObjectPath&)>& visit) {
    return nextReferences(m_filter.assocClass,
                          [&](const ReferenceRow& row) { visitOtherEnds(row, visit); });
}

ClassAssociationQuery::ClassAssociationQuery(RepositoryStore& store, const OperationCall& call)
    : m_store(store),
      m_ns(store.namespaces.require(call.ns).id),
      m_className(call.as<CIMObjectPath>().getClassName()),
      m_filter(*call.filter) {
    checkFilter(m_filter);
    if (!store.classes.find(m_ns, m_className)) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("there is no class \"%1\"", m_className));
    }
}

bool ClassAssociationQuery::isA(const String& className, const String& ancestor) {
    const auto cls = m_store.classes.find(m_ns, className);
    const auto above = m_store.classes.find(m_ns, ancestor);
    return cls && above && m_store.classes.isA(cls->id, above->id);
}

void ClassAssociationQuery::forEachReference(const String& assocClass, const Visit& visit) {
    // A reference to a superclass can also refer to this class. Subclasses of an association have
    // its references, too, but may have narrowed them.
    for (String target = m_className; !target.empty();) {
        const auto cls = m_store.classes.find(m_ns, target);
        for (const auto& [declaring, role] : m_store.classes.declaringReferencesTo(m_ns, target)) {
            for (const ClassName& name : m_store.classes.descendants(m_ns, declaring)) {
                const auto association = m_store.classes.find(m_ns, name.spelling);
                const CIMProperty* reference =
                    association ? association->cls.getProperty(role) : nullptr;
                if (reference != nullptr &&
                    equalsIgnoreCase(reference->getDataType().getRefClassName(), target) &&
                    fits(m_filter.role, role) &&
                    (assocClass.empty() || isA(name.spelling, assocClass))) {
                    visit(association->cls, role);
                }
            }
        }
        target = cls ? cls->cls.getSuperClass() : String();
    }
}

void ClassAssociationQuery::forEachReferring(const std::function<void(const CIMClass&)>& visit) {
    std::unordered_set<String> seen;
    forEachReference(m_filter.resultClass, [&](const CIMClass& association, const String&) {
        if (seen.insert(blocxx::toLower(association.getName())).second) {
            visit(association);
        }
    });
}

void ClassAssociationQuery::forEachOtherEnd(const std::function<void(const CIMClass&)>& visit) {
    std::unordered_set<String> seen;
    forEachReference(m_filter.assocClass, [&](const CIMClass& association, const String& role) {
        for (const CIMProperty& property : association.getProperties()) {
            if (!property.getDataType().isReference() ||
                equalsIgnoreCase(property.getName(), role) ||
                !fits(m_filter.resultRole, property.getName())) {
                continue;
            }
            const String& name = property.getDataType().getRefClassName();
            const auto cls = m_store.classes.find(m_ns, name);
            if (cls && (m_filter.resultClass.empty() || isA(name, m_filter.resultClass)) &&
                seen.insert(blocxx::toLower(name)).second) {
                visit(cls->cls);
            }
        }
    });
}

}  // namespace OpenWBEM
