// SPDX-License-Identifier: Apache-2.0
//
// Part of ClientCIMOMHandle: the operations on associations (DSP0200 5.3.2.17 to 5.3.2.20).
#include "openwbem/client/ClientResults.hpp"

namespace OpenWBEM {

using wire::Operation;

namespace {

ClientCall makeCall(Operation operation, const String& ns, const CIMObjectPath& path,
                    const AssociationFilter& filter, const WantedParts& wanted = {}) {
    ClientCall call{operation, ns};
    call.object = encodeArgument([&] { return Codec::encode(path); });
    call.filter = &filter;
    call.wanted = wanted;
    return call;
}

}  // namespace

void ClientCIMOMHandle::associators(const String& ns, const CIMObjectPath& path,
                                    CIMInstanceResultHandlerIFC& result,
                                    const AssociationFilter& filter,
                                    EIncludeQualifiersFlag includeQualifiers,
                                    EIncludeClassOriginFlag includeClassOrigin,
                                    const StringArray* propertyList) {
    enumerate(makeCall(Operation::ASSOCIATORS, ns, path, filter,
                       {E_NOT_LOCAL_ONLY, includeQualifiers, includeClassOrigin, propertyList}),
              result, Codec::decodeInstanceView);
}

void ClientCIMOMHandle::associatorNames(const String& ns, const CIMObjectPath& path,
                                        CIMObjectPathResultHandlerIFC& result,
                                        const AssociationFilter& filter) {
    enumerate(makeCall(Operation::ASSOCIATOR_NAMES, ns, path, filter), result,
              Codec::decodeObjectPath);
}

void ClientCIMOMHandle::references(const String& ns, const CIMObjectPath& path,
                                   CIMInstanceResultHandlerIFC& result,
                                   const AssociationFilter& filter,
                                   EIncludeQualifiersFlag includeQualifiers,
                                   EIncludeClassOriginFlag includeClassOrigin,
                                   const StringArray* propertyList) {
    enumerate(makeCall(Operation::REFERENCES, ns, path, filter,
                       {E_NOT_LOCAL_ONLY, includeQualifiers, includeClassOrigin, propertyList}),
              result, Codec::decodeInstanceView);
}

void ClientCIMOMHandle::referenceNames(const String& ns, const CIMObjectPath& path,
                                       CIMObjectPathResultHandlerIFC& result,
                                       const AssociationFilter& filter) {
    enumerate(makeCall(Operation::REFERENCE_NAMES, ns, path, filter), result,
              Codec::decodeObjectPath);
}

void ClientCIMOMHandle::associatorsClasses(const String& ns, const CIMObjectPath& path,
                                           CIMClassResultHandlerIFC& result,
                                           const AssociationFilter& filter,
                                           EIncludeQualifiersFlag includeQualifiers,
                                           EIncludeClassOriginFlag includeClassOrigin,
                                           const StringArray* propertyList) {
    enumerate(makeCall(Operation::ASSOCIATORS_CLASSES, ns, path, filter,
                       {E_NOT_LOCAL_ONLY, includeQualifiers, includeClassOrigin, propertyList}),
              result, Codec::decodeClass);
}

void ClientCIMOMHandle::referencesClasses(const String& ns, const CIMObjectPath& path,
                                          CIMClassResultHandlerIFC& result,
                                          const AssociationFilter& filter,
                                          EIncludeQualifiersFlag includeQualifiers,
                                          EIncludeClassOriginFlag includeClassOrigin,
                                          const StringArray* propertyList) {
    enumerate(makeCall(Operation::REFERENCES_CLASSES, ns, path, filter,
                       {E_NOT_LOCAL_ONLY, includeQualifiers, includeClassOrigin, propertyList}),
              result, Codec::decodeClass);
}

}  // namespace OpenWBEM
