// SPDX-License-Identifier: Apache-2.0
//
// Objects to and from the bytes in the repository's rows. What cannot be encoded is the caller's
// error, CIMException INVALID_PARAMETER; what cannot be decoded is a damaged repository, FAILED.
#pragma once

#include "openwbem/wire/CIMCodec.hpp"

namespace OpenWBEM::StoredForm {

String of(const CIMClass& cls);
String of(const CIMInstance& instance);
String of(const CIMQualifierType& qualifierType);
String of(const CIMObjectPath& path);

CIMClass cls(Codec::Bytes bytes);
CIMInstance instance(Codec::Bytes bytes);
CIMQualifierType qualifierType(Codec::Bytes bytes);
CIMObjectPath path(Codec::Bytes bytes);

inline Codec::Bytes bytesOf(const String& text) {
    return std::as_bytes(std::span(text));
}

}  // namespace OpenWBEM::StoredForm
