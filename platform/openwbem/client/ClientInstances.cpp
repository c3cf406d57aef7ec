// SPDX-License-Identifier: Apache-2.0
//
// Part of ClientCIMOMHandle: the operations on instances (DSP0200 5.3.2.2, 5.3.2.4, 5.3.2.6 and so
// on).
#include "openwbem/client/ClientResults.hpp"

namespace OpenWBEM {

using wire::Operation;

void ClientCIMOMHandle::enumInstances(const String& ns, const String& className,
                                      CIMInstanceResultHandlerIFC& result, EDeepFlag deep,
                                      ELocalOnlyFlag localOnly,
                                      EIncludeQualifiersFlag includeQualifiers,
                                      EIncludeClassOriginFlag includeClassOrigin,
                                      const StringArray* propertyList) {
    ClientCall call{Operation::ENUM_INSTANCES, ns, &className};
    call.deep = deep == E_DEEP;
    call.wanted = {localOnly, includeQualifiers, includeClassOrigin, propertyList};
    enumerate(call, result, Codec::decodeInstanceView);
}

void ClientCIMOMHandle::enumInstanceNames(const String& ns, const String& className,
                                          CIMObjectPathResultHandlerIFC& result) {
    enumerate({Operation::ENUM_INSTANCE_NAMES, ns, &className}, result, Codec::decodeObjectPath);
}

CIMInstance ClientCIMOMHandle::getInstance(const String& ns, const CIMObjectPath& path,
                                           ELocalOnlyFlag localOnly,
                                           EIncludeQualifiersFlag includeQualifiers,
                                           EIncludeClassOriginFlag includeClassOrigin,
                                           const StringArray* propertyList) {
    ClientCall call{Operation::GET_INSTANCE, ns};
    call.object = encodeArgument([&] { return Codec::encode(path); });
    call.wanted = {localOnly, includeQualifiers, includeClassOrigin, propertyList};
    const String answer = carryOut(call);
    return decodeResult([&] { return Codec::decodeInstanceView(bytesOf(answer)); });
}

CIMObjectPath ClientCIMOMHandle::createInstance(const String& ns, const CIMInstance& instance) {
    ClientCall call{Operation::CREATE_INSTANCE, ns};
    call.object = encodeArgument([&] { return Codec::encodeView(instance); });
    const String answer = carryOut(call);
    return decodeResult([&] { return Codec::decodeObjectPath(bytesOf(answer)); });
}

void ClientCIMOMHandle::modifyInstance(const String& ns, const CIMInstance& instance,
                                       EIncludeQualifiersFlag includeQualifiers,
                                       const StringArray* propertyList) {
    ClientCall call{Operation::MODIFY_INSTANCE, ns};
    call.object = encodeArgument([&] { return Codec::encodeView(instance); });
    call.wanted.qualifiers = includeQualifiers;
    call.wanted.propertyList = propertyList;
    carryOut(call);
}

void ClientCIMOMHandle::deleteInstance(const String& ns, const CIMObjectPath& path) {
    ClientCall call{Operation::DELETE_INSTANCE, ns};
    call.object = encodeArgument([&] { return Codec::encode(path); });
    carryOut(call);
}

}  // namespace OpenWBEM
