// SPDX-License-Identifier: Apache-2.0
//
// The collecting forms of the enumerations, on top of the streaming ones.
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace OpenWBEM {

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
