// SPDX-License-Identifier: Apache-2.0
//
// Encodes objects for the repository's rows and decodes them. Throws CIMException INVALID_PARAMETER
// for an object that cannot be encoded, and FAILED, for a damaged repository, when a row cannot be
// decoded.
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
