// SPDX-License-Identifier: Apache-2.0
//
// The operations as calls, and the collecting forms of the enumerations.
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace OpenWBEM {

void CIMOMHandleIFC::enumClass(const String& ns, const String& className,
                               CIMClassResultHandlerIFC& result, EDeepFlag deep,
                               ELocalOnlyFlag localOnly, EIncludeQualifiersFlag includeQualifiers,
                               EIncludeClassOriginFlag includeClassOrigin) {
    carryOut({Operation::ENUM_CLASS,
              ns,
              &className,
              &result,
              {localOnly, includeQualifiers, includeClassOrigin},
              deep});
}

void CIMOMHandleIFC::enumClassNames(const String& ns, const String& className,
                                    StringResultHandlerIFC& result, EDeepFlag deep) {
    carryOut({Operation::ENUM_CLASS_NAMES, ns, &className, &result, {}, deep});
}

CIMClass CIMOMHandleIFC::getClass(const String& ns, const String& className,
                                  ELocalOnlyFlag localOnly,
                                  EIncludeQualifiersFlag includeQualifiers,
                                  EIncludeClassOriginFlag includeClassOrigin,
                                  const StringArray* propertyList) {
    return std::get<CIMClass>(
        carryOut({Operation::GET_CLASS,
                  ns,
                  &className,
                  {},
                  {localOnly, includeQualifiers, includeClassOrigin, propertyList}}));
}

void CIMOMHandleIFC::createClass(const String& ns, const CIMClass& cls) {
    carryOut({Operation::CREATE_CLASS, ns, &cls});
}

void CIMOMHandleIFC::modifyClass(const String& ns, const CIMClass& cls) {
    carryOut({Operation::MODIFY_CLASS, ns, &cls});
}

void CIMOMHandleIFC::deleteClass(const String& ns, const String& className) {
    carryOut({Operation::DELETE_CLASS, ns, &className});
}

void CIMOMHandleIFC::enumInstances(const String& ns, const String& className,
                                   CIMInstanceResultHandlerIFC& result, EDeepFlag deep,
                                   ELocalOnlyFlag localOnly,
                                   EIncludeQualifiersFlag includeQualifiers,
                                   EIncludeClassOriginFlag includeClassOrigin,
                                   const StringArray* propertyList) {
    carryOut({Operation::ENUM_INSTANCES,
              ns,
              &className,
              &result,
              {localOnly, includeQualifiers, includeClassOrigin, propertyList},
              deep});
}

void CIMOMHandleIFC::enumInstanceNames(const String& ns, const String& className,
                                       CIMObjectPathResultHandlerIFC& result) {
    carryOut({Operation::ENUM_INSTANCE_NAMES, ns, &className, &result});
}

CIMInstance CIMOMHandleIFC::getInstance(const String& ns, const CIMObjectPath& path,
                                        ELocalOnlyFlag localOnly,
                                        EIncludeQualifiersFlag includeQualifiers,
                                        EIncludeClassOriginFlag includeClassOrigin,
                                        const StringArray* propertyList) {
    return std::get<CIMInstance>(
        carryOut({Operation::GET_INSTANCE,
                  ns,
                  &path,
                  {},
                  {localOnly, includeQualifiers, includeClassOrigin, propertyList}}));
}

CIMObjectPath CIMOMHandleIFC::createInstance(const String& ns, const CIMInstance& instance) {
    return std::get<CIMObjectPath>(carryOut({Operation::CREATE_INSTANCE, ns, &instance}));
}

void CIMOMHandleIFC::modifyInstance(const String& ns, const CIMInstance& instance,
                                    EIncludeQualifiersFlag includeQualifiers,
                                    const StringArray* propertyList) {
    carryOut({Operation::MODIFY_INSTANCE,
              ns,
              &instance,
              {},
              {E_NOT_LOCAL_ONLY, includeQualifiers, E_EXCLUDE_CLASS_ORIGIN, propertyList}});
}

void CIMOMHandleIFC::deleteInstance(const String& ns, const CIMObjectPath& path) {
    carryOut({Operation::DELETE_INSTANCE, ns, &path});
}

CIMQualifierType CIMOMHandleIFC::getQualifierType(const String& ns, const String& name) {
    return std::get<CIMQualifierType>(carryOut({Operation::GET_QUALIFIER_TYPE, ns, &name}));
}

void CIMOMHandleIFC::enumQualifierTypes(const String& ns,
                                        CIMQualifierTypeResultHandlerIFC& result) {
    carryOut({Operation::ENUM_QUALIFIER_TYPES, ns, {}, &result});
}

void CIMOMHandleIFC::setQualifierType(const String& ns, const CIMQualifierType& qualifierType) {
    carryOut({Operation::SET_QUALIFIER_TYPE, ns, &qualifierType});
}

void CIMOMHandleIFC::deleteQualifierType(const String& ns, const String& name) {
    carryOut({Operation::DELETE_QUALIFIER_TYPE, ns, &name});
}

void CIMOMHandleIFC::associators(const String& ns, const CIMObjectPath& path,
                                 CIMInstanceResultHandlerIFC& result,
                                 const AssociationFilter& filter,
                                 EIncludeQualifiersFlag includeQualifiers,
                                 EIncludeClassOriginFlag includeClassOrigin,
                                 const StringArray* propertyList) {
    carryOut({Operation::ASSOCIATORS,
              ns,
              &path,
              &result,
              {E_NOT_LOCAL_ONLY, includeQualifiers, includeClassOrigin, propertyList},
              E_SHALLOW,
              &filter});
}

void CIMOMHandleIFC::associatorNames(const String& ns, const CIMObjectPath& path,
                                     CIMObjectPathResultHandlerIFC& result,
                                     const AssociationFilter& filter) {
    carryOut({Operation::ASSOCIATOR_NAMES, ns, &path, &result, {}, E_SHALLOW, &filter});
}

void CIMOMHandleIFC::references(const String& ns, const CIMObjectPath& path,
                                CIMInstanceResultHandlerIFC& result,
                                const AssociationFilter& filter,
                                EIncludeQualifiersFlag includeQualifiers,
                                EIncludeClassOriginFlag includeClassOrigin,
                                const StringArray* propertyList) {
    carryOut({Operation::REFERENCES,
              ns,
              &path,
              &result,
              {E_NOT_LOCAL_ONLY, includeQualifiers, includeClassOrigin, propertyList},
              E_SHALLOW,
              &filter});
}

void CIMOMHandleIFC::referenceNames(const String& ns, const CIMObjectPath& path,
                                    CIMObjectPathResultHandlerIFC& result,
                                    const AssociationFilter& filter) {
    carryOut({Operation::REFERENCE_NAMES, ns, &path, &result, {}, E_SHALLOW, &filter});
}

void CIMOMHandleIFC::associatorsClasses(const String& ns, const CIMObjectPath& path,
                                        CIMClassResultHandlerIFC& result,
                                        const AssociationFilter& filter,
                                        EIncludeQualifiersFlag includeQualifiers,
                                        EIncludeClassOriginFlag includeClassOrigin,
                                        const StringArray* propertyList) {
    carryOut({Operation::ASSOCIATORS_CLASSES,
              ns,
              &path,
              &result,
              {E_NOT_LOCAL_ONLY, includeQualifiers, includeClassOrigin, propertyList},
              E_SHALLOW,
              &filter});
}

void CIMOMHandleIFC::referencesClasses(const String& ns, const CIMObjectPath& path,
                                       CIMClassResultHandlerIFC& result,
                                       const AssociationFilter& filter,
                                       EIncludeQualifiersFlag includeQualifiers,
                                       EIncludeClassOriginFlag includeClassOrigin,
                                       const StringArray* propertyList) {
    carryOut({Operation::REFERENCES_CLASSES,
              ns,
              &path,
              &result,
              {E_NOT_LOCAL_ONLY, includeQualifiers, includeClassOrigin, propertyList},
              E_SHALLOW,
              &filter});
}

Array<CIMClass> CIMOMHandleIFC::enumClassA(const String& ns, const String& className,
                                           EDeepFlag deep, ELocalOnlyFlag localOnly,
                                           EIncludeQualifiersFlag includeQualifiers,
                                           EIncludeClassOriginFlag includeClassOrigin) {
    Array<CIMClass> result;
    ArrayBuilder<CIMClass> builder(result);
    enumClass(ns, className, builder, deep, localOnly, includeQualifiers, includeClassOrigin);
    return result;
}

StringArray CIMOMHandleIFC::enumClassNamesA(const String& ns, const String& className,
                                            EDeepFlag deep) {
    StringArray result;
    ArrayBuilder<String> builder(result);
    enumClassNames(ns, className, builder, deep);
    return result;
}

Array<CIMInstance> CIMOMHandleIFC::enumInstancesA(const String& ns, const String& className) {
    Array<CIMInstance> result;
    ArrayBuilder<CIMInstance> builder(result);
    enumInstances(ns, className, builder);
    return result;
}

Array<CIMObjectPath> CIMOMHandleIFC::enumInstanceNamesA(const String& ns, const String& className) {
    Array<CIMObjectPath> result;
    ArrayBuilder<CIMObjectPath> builder(result);
    enumInstanceNames(ns, className, builder);
    return result;
}

Array<CIMQualifierType> CIMOMHandleIFC::enumQualifierTypesA(const String& ns) {
    Array<CIMQualifierType> result;
    ArrayBuilder<CIMQualifierType> builder(result);
    enumQualifierTypes(ns, builder);
    return result;
}

Array<CIMInstance> CIMOMHandleIFC::associatorsA(const String& ns, const CIMObjectPath& path,
                                                const AssociationFilter& filter) {
    Array<CIMInstance> result;
    ArrayBuilder<CIMInstance> builder(result);
    associators(ns, path, builder, filter);
    return result;
}

}  // namespace OpenWBEM
