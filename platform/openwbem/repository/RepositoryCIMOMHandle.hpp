// SPDX-License-Identifier: Apache-2.0
//
// The operations of CIMOMHandleIFC on a repository opened directly, and its namespaces.
#pragma once

#include "openwbem/repository/CIMRepository.hpp"
#include "openwbem/repository/Enumeration.hpp"

namespace OpenWBEM {

class RepositoryCIMOMHandle : public CIMOMHandleIFC {
public:
    /// The repository may be opened (CIMRepository::init) after the handle is made. `context` must
    /// outlive the handle.
    RepositoryCIMOMHandle(CIMRepositoryRef repository, OperationContext& context);
    ~RepositoryCIMOMHandle() override;

    /// Throws CIMException ALREADY_EXISTS (names compare without regard to case) or
    /// INVALID_PARAMETER (not a namespace name: IDENTIFIERs of DSP0004 Annex A joined by "/").
    virtual void createNameSpace(const String& ns);
    /// Deletes the namespace with everything in it. Throws CIMException NOT_FOUND.
    virtual void deleteNameSpace(const String& ns);
    virtual void enumNameSpace(StringResultHandlerIFC& result);

    // CIMOMHandleIFC
    void enumClass(const String& ns, const String& className, CIMClassResultHandlerIFC& result,
                   EDeepFlag deep, ELocalOnlyFlag localOnly,
                   EIncludeQualifiersFlag includeQualifiers,
                   EIncludeClassOriginFlag includeClassOrigin) override;
    void enumClassNames(const String& ns, const String& className, StringResultHandlerIFC& result,
                        EDeepFlag deep) override;
    CIMClass getClass(const String& ns, const String& className, ELocalOnlyFlag localOnly,
                      EIncludeQualifiersFlag includeQualifiers,
                      EIncludeClassOriginFlag includeClassOrigin,
                      const StringArray* propertyList) override;
    void createClass(const String& ns, const CIMClass& cls) override;
    void modifyClass(const String& ns, const CIMClass& cls) override;
    void deleteClass(const String& ns, const String& className) override;
    void enumInstances(const String& ns, const String& className,
                       CIMInstanceResultHandlerIFC& result, EDeepFlag deep,
                       ELocalOnlyFlag localOnly, EIncludeQualifiersFlag includeQualifiers,
                       EIncludeClassOriginFlag includeClassOrigin,
                       const StringArray* propertyList) override;
    void enumInstanceNames(const String& ns, const String& className,
                           CIMObjectPathResultHandlerIFC& result) override;
    CIMInstance getInstance(const String& ns, const CIMObjectPath& path, ELocalOnlyFlag localOnly,
                            EIncludeQualifiersFlag includeQualifiers,
                            EIncludeClassOriginFlag includeClassOrigin,
                            const StringArray* propertyList) override;
    CIMObjectPath createInstance(const String& ns, const CIMInstance& instance) override;
    void modifyInstance(const String& ns, const CIMInstance& instance,
                        EIncludeQualifiersFlag includeQualifiers,
                        const StringArray* propertyList) override;
    void deleteInstance(const String& ns, const CIMObjectPath& path) override;
    CIMQualifierType getQualifierType(const String& ns, const String& name) override;
    void enumQualifierTypes(const String& ns, CIMQualifierTypeResultHandlerIFC& result) override;
    void setQualifierType(const String& ns, const CIMQualifierType& qualifierType) override;
    void deleteQualifierType(const String& ns, const String& name) override;
    void associators(const String& ns, const CIMObjectPath& path,
                     CIMInstanceResultHandlerIFC& result, const AssociationFilter& filter,
                     EIncludeQualifiersFlag includeQualifiers,
                     EIncludeClassOriginFlag includeClassOrigin,
                     const StringArray* propertyList) override;
    void associatorNames(const String& ns, const CIMObjectPath& path,
                         CIMObjectPathResultHandlerIFC& result,
                         const AssociationFilter& filter) override;
    void references(const String& ns, const CIMObjectPath& path,
                    CIMInstanceResultHandlerIFC& result, const AssociationFilter& filter,
                    EIncludeQualifiersFlag includeQualifiers,
                    EIncludeClassOriginFlag includeClassOrigin,
                    const StringArray* propertyList) override;
    void referenceNames(const String& ns, const CIMObjectPath& path,
                        CIMObjectPathResultHandlerIFC& result,
                        const AssociationFilter& filter) override;
    void associatorsClasses(const String& ns, const CIMObjectPath& path,
                            CIMClassResultHandlerIFC& result, const AssociationFilter& filter,
                            EIncludeQualifiersFlag includeQualifiers,
                            EIncludeClassOriginFlag includeClassOrigin,
                            const StringArray* propertyList) override;
    void referencesClasses(const String& ns, const CIMObjectPath& path,
                           CIMClassResultHandlerIFC& result, const AssociationFilter& filter,
                           EIncludeQualifiersFlag includeQualifiers,
                           EIncludeClassOriginFlag includeClassOrigin,
                           const StringArray* propertyList) override;
    void commit() override;
    void releaseMemory() override;

    // The enumerations, for callers who pull the results. Failures that the enumerations above
    // begin with are thrown here. The repository must stay open for as long as there are any.
    EnumerationPtr<CIMClass> openClasses(const String& ns, const String& className, EDeepFlag deep,
                                         const WantedParts& wanted);
    EnumerationPtr<String> openClassNames(const String& ns, const String& className,
                                          EDeepFlag deep);
    EnumerationPtr<CIMInstance> openInstances(const String& ns, const String& className,
                                              EDeepFlag deep, const WantedParts& wanted);
    EnumerationPtr<CIMObjectPath> openInstanceNames(const String& ns, const String& className);
    EnumerationPtr<CIMQualifierType> openQualifierTypes(const String& ns);
    EnumerationPtr<CIMInstance> openAssociators(const String& ns, const CIMObjectPath& path,
                                                const AssociationFilter& filter,
                                                const WantedParts& wanted);
    EnumerationPtr<CIMObjectPath> openAssociatorNames(const String& ns, const CIMObjectPath& path,
                                                      const AssociationFilter& filter);
    EnumerationPtr<CIMInstance> openReferences(const String& ns, const CIMObjectPath& path,
                                               const AssociationFilter& filter,
                                               const WantedParts& wanted);
    EnumerationPtr<CIMObjectPath> openReferenceNames(const String& ns, const CIMObjectPath& path,
                                                     const AssociationFilter& filter);
    EnumerationPtr<CIMClass> openAssociatorsClasses(const String& ns, const CIMObjectPath& path,
                                                    const AssociationFilter& filter,
                                                    const WantedParts& wanted);
    EnumerationPtr<CIMClass> openReferencesClasses(const String& ns, const CIMObjectPath& path,
                                                   const AssociationFilter& filter,
                                                   const WantedParts& wanted);

private:
    /// Reads what associations lead to.
    CIMOMHandleIFCRef surroundings();

    CIMRepositoryRef m_repository;
    OperationContext& m_context;
};

}  // namespace OpenWBEM
