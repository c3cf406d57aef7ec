// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/StoredForm.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"

namespace OpenWBEM::StoredForm {

using blocxx::Format;

namespace {

String encode(const auto& object) {
    try {
        return Codec::encode(object);
    } catch (const Codec::CodecException& e) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("the object cannot be stored: %1", e.what()));
    }
}

auto decode(auto decoder, Codec::Bytes bytes) {
    try {
        return decoder(bytes);
    } catch (const Codec::CodecException& e) {
        OPENWBEM_THROW_CIM(FAILED,
                           Format("the repository holds an object that cannot be read (%1); "
                                  "put a backup of the repository back",
                                  e.what()));
    }
}

}  // namespace

String of(const CIMClass& cls) {
    return encode(cls);
}
String of(const CIMInstance& instance) {
    return encode(instance);
}
String of(const CIMQualifierType& qualifierType) {
    return encode(qualifierType);
}
String of(const CIMObjectPath& path) {
    return encode(path);
}

CIMClass cls(Codec::Bytes bytes) {
    return decode(Codec::decodeClass, bytes);
}
CIMInstance instance(Codec::Bytes bytes) {
    return decode(Codec::decodeInstance, bytes);
}
CIMQualifierType qualifierType(Codec::Bytes bytes) {
    return decode(Codec::decodeQualifierType, bytes);
}
CIMObjectPath path(Codec::Bytes bytes) {
    return decode(Codec::decodeObjectPath, bytes);
}

}  // namespace OpenWBEM::StoredForm
