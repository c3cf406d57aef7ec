// SPDX-License-Identifier: Apache-2.0
//
// The operations on CIM objects (DSP0200 5.3), whatever carries them out: a repository opened
// directly or a connection to the daemon. Failures are CIMException with the status codes of
// DSP0200. Names of classes, qualifiers, properties and namespaces are taken without regard to
// case.
#pragma once

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/OperationCall.hpp"

namespace OpenWBEM {

class CIMOMHandleIFC : public blocxx::IntrusiveCountableBase {
public:
    /// Carries out an operation. The functions below say what each one does.
    virtual OperationResult carryOut(const OperationCall& call) = 0;

    // Classes. An enumeration delivers superclasses before their subclasses.

    /// `className` empty: from the top of the hierarchy. Shallow: its direct subclasses only.
    void enumClass(const String& ns, const String& className, CIMClassResultHandlerIFC& result,
                   EDeepFlag deep = E_SHALLOW, ELocalOnlyFlag localOnly = E_NOT_LOCAL_ONLY,
                   EIncludeQualifiersFlag includeQualifiers = E_INCLUDE_QUALIFIERS,
                   EIncludeClassOriginFlag includeClassOrigin = E_EXCLUDE_CLASS_ORIGIN);
    void enumClassNames(const String& ns, const String& className, StringResultHandlerIFC& result,
                        EDeepFlag deep = E_SHALLOW);
    /// A null property list means all properties.
    CIMClass getClass(const String& ns, const String& className,
                      ELocalOnlyFlag localOnly = E_NOT_LOCAL_ONLY,
                      EIncludeQualifiersFlag includeQualifiers = E_INCLUDE_QUALIFIERS,
                      EIncludeClassOriginFlag includeClassOrigin = E_EXCLUDE_CLASS_ORIGIN,
                      const StringArray* propertyList = nullptr);
    void createClass(const String& ns, const CIMClass& cls);
    /// Only for a class without subclasses and instances, or with changes that leave those valid.
    void modifyClass(const String& ns, const CIMClass& cls);
    void deleteClass(const String& ns, const String& className);

    // Instances. Paths that are handed out hold the namespace.

    /// Deep only decides whether subclasses' own properties are included (DSP0200 5.3.2.9):
    /// instances of subclasses are always delivered.
    void enumInstances(const String& ns, const String& className,
                       CIMInstanceResultHandlerIFC& result, EDeepFlag deep = E_DEEP,
                       ELocalOnlyFlag localOnly = E_NOT_LOCAL_ONLY,
                       EIncludeQualifiersFlag includeQualifiers = E_EXCLUDE_QUALIFIERS,
                       EIncludeClassOriginFlag includeClassOrigin = E_EXCLUDE_CLASS_ORIGIN,
                       const StringArray* propertyList = nullptr);
    void enumInstanceNames(const String& ns, const String& className,
                           CIMObjectPathResultHandlerIFC& result);
    CIMInstance getInstance(const String& ns, const CIMObjectPath& path,
                            ELocalOnlyFlag localOnly = E_NOT_LOCAL_ONLY,
                            EIncludeQualifiersFlag includeQualifiers = E_EXCLUDE_QUALIFIERS,
                            EIncludeClassOriginFlag includeClassOrigin = E_EXCLUDE_CLASS_ORIGIN,
                            const StringArray* propertyList = nullptr);
    /// Returns the path of the new instance.
    CIMObjectPath createInstance(const String& ns, const CIMInstance& instance);
    /// Properties that the instance does not hold, or that a non-null list does not name, stay as
    /// they are.
    void modifyInstance(const String& ns, const CIMInstance& instance,
                        EIncludeQualifiersFlag includeQualifiers = E_INCLUDE_QUALIFIERS,
                        const StringArray* propertyList = nullptr);
    void deleteInstance(const String& ns, const CIMObjectPath& path);

    // Qualifier types.

    CIMQualifierType getQualifierType(const String& ns, const String& name);
    void enumQualifierTypes(const String& ns, CIMQualifierTypeResultHandlerIFC& result);
    /// Creates or replaces.
    void setQualifierType(const String& ns, const CIMQualifierType& qualifierType);
    void deleteQualifierType(const String& ns, const String& name);

    // Associations of an instance. The path's namespace, when it has one, is that of the object;
    // `ns` is where the associations are looked for.

    void associators(const String& ns, const CIMObjectPath& path,
                     CIMInstanceResultHandlerIFC& result, const AssociationFilter& filter,
                     EIncludeQualifiersFlag includeQualifiers = E_EXCLUDE_QUALIFIERS,
                     EIncludeClassOriginFlag includeClassOrigin = E_EXCLUDE_CLASS_ORIGIN,
                     const StringArray* propertyList = nullptr);
    void associatorNames(const String& ns, const CIMObjectPath& path,
                         CIMObjectPathResultHandlerIFC& result, const AssociationFilter& filter);
    void references(const String& ns, const CIMObjectPath& path,
                    CIMInstanceResultHandlerIFC& result, const AssociationFilter& filter,
                    EIncludeQualifiersFlag includeQualifiers = E_EXCLUDE_QUALIFIERS,
                    EIncludeClassOriginFlag includeClassOrigin = E_EXCLUDE_CLASS_ORIGIN,
                    const StringArray* propertyList = nullptr);
    void referenceNames(const String& ns, const CIMObjectPath& path,
                        CIMObjectPathResultHandlerIFC& result, const AssociationFilter& filter);
    // The same for a class path: association classes and the classes that they reach.
    void associatorsClasses(const String& ns, const CIMObjectPath& path,
                            CIMClassResultHandlerIFC& result, const AssociationFilter& filter,
                            EIncludeQualifiersFlag includeQualifiers = E_EXCLUDE_QUALIFIERS,
                            EIncludeClassOriginFlag includeClassOrigin = E_EXCLUDE_CLASS_ORIGIN,
                            const StringArray* propertyList = nullptr);
    void referencesClasses(const String& ns, const CIMObjectPath& path,
                           CIMClassResultHandlerIFC& result, const AssociationFilter& filter,
                           EIncludeQualifiersFlag includeQualifiers = E_EXCLUDE_QUALIFIERS,
                           EIncludeClassOriginFlag includeClassOrigin = E_EXCLUDE_CLASS_ORIGIN,
                           const StringArray* propertyList = nullptr);

    /// Makes everything done through this handle durable: after it returns, it survives a power
    /// cut. Throws CIMException FAILED. A repository opened directly is one unit of work that is
    /// committed here: on failure everything is as before the unit of work, and further writes
    /// through the handle (undo steps) have nothing left to do and succeed. The daemon has
    /// committed each call on a connection already, and syncs here: on failure the changes are
    /// still there, and undo steps take them back.
    virtual void commit() = 0;

    /// Gives back what is held in memory only to make further operations quicker.
    virtual void releaseMemory() {}

    // Collecting forms of the enumerations.
    Array<CIMClass> enumClassA(const String& ns, const String& className, EDeepFlag deep,
                               ELocalOnlyFlag localOnly, EIncludeQualifiersFlag includeQualifiers,
                               EIncludeClassOriginFlag includeClassOrigin);
    StringArray enumClassNamesA(const String& ns, const String& className,
                                EDeepFlag deep = E_SHALLOW);
    Array<CIMInstance> enumInstancesA(const String& ns, const String& className);
    Array<CIMObjectPath> enumInstanceNamesA(const String& ns, const String& className);
    Array<CIMQualifierType> enumQualifierTypesA(const String& ns);
    Array<CIMInstance> associatorsA(const String& ns, const CIMObjectPath& path,
                                    const AssociationFilter& filter);
};

}  // namespace OpenWBEM
