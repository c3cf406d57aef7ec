// SPDX-License-Identifier: Apache-2.0
//
// The operations on associations (DSP0200 5.3.2.17 to 5.3.2.20). The objects that associations lead
// to are read through the environment, as they need not be in this repository's care.
#include "openwbem/repository/AssociationQuery.hpp"
#include "openwbem/repository/InstanceForm.hpp"
#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace OpenWBEM {

namespace {

/// A reference may lead to nothing: what it names was deleted or never there.
bool isMissing(const CIMException& e) {
    switch (e.getErrNo()) {
        case CIMException::NOT_FOUND:
        case CIMException::INVALID_CLASS:
        case CIMException::INVALID_NAMESPACE:
        case CIMException::INVALID_PARAMETER:
            return true;
        default:
            return false;
    }
}

/// Hands over each object that the query leads to and that exists, with its namespace.
template <class Visit>
void forEachAssociated(AssociationQuery& query, CIMOMHandleIFC& handle,
                       EIncludeQualifiersFlag includeQualifiers,
                       EIncludeClassOriginFlag includeClassOrigin, const StringArray* propertyList,
                       Visit visit) {
    query.forEachOtherEnd([&](const CIMObjectPath& path) {
        CIMInstance instance;
        try {
            instance = handle.getInstance(path.getNameSpace(), path, E_NOT_LOCAL_ONLY,
                                          includeQualifiers, includeClassOrigin, propertyList);
        } catch (const CIMException& e) {
            if (isMissing(e)) {
                return;
            }
            throw;
        }
        visit(path, instance);
    });
}

}  // namespace

CIMOMHandleIFCRef RepositoryCIMOMHandle::surroundings() {
    return m_repository->environment()->getCIMOMHandle(m_context,
                                                       ServiceEnvironmentIFC::E_BYPASS_PROVIDERS);
}

void RepositoryCIMOMHandle::associators(const String& ns, const CIMObjectPath& path,
                                        CIMInstanceResultHandlerIFC& result,
                                        const AssociationFilter& filter,
                                        EIncludeQualifiersFlag includeQualifiers,
                                        EIncludeClassOriginFlag includeClassOrigin,
                                        const StringArray* propertyList) {
    AssociationQuery query(reading(), ns, path, filter);
    const CIMOMHandleIFCRef handle = surroundings();
    forEachAssociated(
        query, *handle, includeQualifiers, includeClassOrigin, propertyList,
        [&](const CIMObjectPath&, const CIMInstance& instance) { result.handle(instance); });
}

void RepositoryCIMOMHandle::associatorNames(const String& ns, const CIMObjectPath& path,
                                            CIMObjectPathResultHandlerIFC& result,
                                            const AssociationFilter& filter) {
    AssociationQuery query(reading(), ns, path, filter);
    const CIMOMHandleIFCRef handle = surroundings();
    forEachAssociated(query, *handle, E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, nullptr,
                      [&](const CIMObjectPath& end, const CIMInstance& instance) {
                          result.handle(CIMObjectPath(end.getNameSpace(), instance));
                      });
}

void RepositoryCIMOMHandle::references(const String& ns, const CIMObjectPath& path,
                                       CIMInstanceResultHandlerIFC& result,
                                       const AssociationFilter& filter,
                                       EIncludeQualifiersFlag includeQualifiers,
                                       EIncludeClassOriginFlag includeClassOrigin,
                                       const StringArray* propertyList) {
    RepositoryStore& store = reading();
    AssociationQuery query(store, ns, path, filter);
    const InstanceForm form{false, includeQualifiers == E_INCLUDE_QUALIFIERS,
                            includeClassOrigin == E_INCLUDE_CLASS_ORIGIN, propertyList, nullptr};
    query.forEachReferring([&](const InstanceRow& row) {
        const auto cls = form.needsClass()
                             ? store.classes.find(query.nameSpace().id, row.instance.getClassName())
                             : std::nullopt;
        result.handle(form.of(row.instance, cls ? &cls->cls : nullptr));
    });
}

void RepositoryCIMOMHandle::referenceNames(const String& ns, const CIMObjectPath& path,
                                           CIMObjectPathResultHandlerIFC& result,
                                           const AssociationFilter& filter) {
    AssociationQuery query(reading(), ns, path, filter);
    query.forEachReferring([&](const InstanceRow& row) {
        result.handle(CIMObjectPath(query.nameSpace().spelling, row.instance));
    });
}

void RepositoryCIMOMHandle::associatorsClasses(const String& ns, const CIMObjectPath& path,
                                               CIMClassResultHandlerIFC& result,
                                               const AssociationFilter& filter,
                                               EIncludeQualifiersFlag includeQualifiers,
                                               EIncludeClassOriginFlag includeClassOrigin,
                                               const StringArray* propertyList) {
    ClassAssociationQuery(reading(), ns, path, filter).forEachOtherEnd([&](const CIMClass& cls) {
        result.handle(cls.filter(false, includeQualifiers == E_INCLUDE_QUALIFIERS,
                                 includeClassOrigin == E_INCLUDE_CLASS_ORIGIN, propertyList));
    });
}

void RepositoryCIMOMHandle::referencesClasses(const String& ns, const CIMObjectPath& path,
                                              CIMClassResultHandlerIFC& result,
                                              const AssociationFilter& filter,
                                              EIncludeQualifiersFlag includeQualifiers,
                                              EIncludeClassOriginFlag includeClassOrigin,
                                              const StringArray* propertyList) {
    ClassAssociationQuery(reading(), ns, path, filter).forEachReferring([&](const CIMClass& cls) {
        result.handle(cls.filter(false, includeQualifiers == E_INCLUDE_QUALIFIERS,
                                 includeClassOrigin == E_INCLUDE_CLASS_ORIGIN, propertyList));
    });
}

}  // namespace OpenWBEM
