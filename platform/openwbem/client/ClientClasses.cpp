// SPDX-License-Identifier: Apache-2.0
//
// Part of ClientCIMOMHandle: the operations on classes (DSP0200 5.3.2.1, 5.3.2.3, 5.3.2.5 and so
// on).
#include "openwbem/client/ClientResults.hpp"

namespace OpenWBEM {

using wire::Operation;

void ClientCIMOMHandle::enumClass(const String& ns, const String& className,
                                  CIMClassResultHandlerIFC& result, EDeepFlag deep,
                                  ELocalOnlyFlag localOnly,
                                  EIncludeQualifiersFlag includeQualifiers,
                                  EIncludeClassOriginFlag includeClassOrigin) {
    ClientCall call{Operation::ENUM_CLASSES, ns, &className};
    call.deep = deep == E_DEEP;
    call.wanted = {localOnly, includeQualifiers, includeClassOrigin};
    enumerate(call, result, Codec::decodeClass);
}

void ClientCIMOMHandle::enumClassNames(const String& ns, const String& className,
                                       StringResultHandlerIFC& result, EDeepFlag deep) {
    ClientCall call{Operation::ENUM_CLASS_NAMES, ns, &className};
    call.deep = deep == E_DEEP;
    enumerate(call, result, [](ClientConnection::Bytes bytes) {
        return String(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    });
}

CIMClass ClientCIMOMHandle::getClass(const String& ns, const String& className,
                                     ELocalOnlyFlag localOnly,
                                     EIncludeQualifiersFlag includeQualifiers,
                                     EIncludeClassOriginFlag includeClassOrigin,
                                     const StringArray* propertyList) {
    ClientCall call{Operation::GET_CLASS, ns, &className};
    call.wanted = {localOnly, includeQualifiers, includeClassOrigin, propertyList};
    const String answer = carryOut(call);
    return decodeResult([&] { return Codec::decodeClass(bytesOf(answer)); });
}

void ClientCIMOMHandle::createClass(const String& ns, const CIMClass& cls) {
    ClientCall call{Operation::CREATE_CLASS, ns};
    call.object = encodeArgument([&] { return Codec::encodeView(cls); });
    carryOut(call);
}

void ClientCIMOMHandle::modifyClass(const String& ns, const CIMClass& cls) {
    ClientCall call{Operation::MODIFY_CLASS, ns};
    call.object = encodeArgument([&] { return Codec::encodeView(cls); });
    carryOut(call);
}

void ClientCIMOMHandle::deleteClass(const String& ns, const String& className) {
    carryOut({Operation::DELETE_CLASS, ns, &className});
}

}  // namespace OpenWBEM
