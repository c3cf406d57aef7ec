// SPDX-License-Identifier: Apache-2.0
//
// Objects as Cap'n Proto messages: the form in which they are stored and sent. Decoding takes any
// bytes: what is not a well-formed message of the kind asked for is a CodecException, never a
// crash, and costs memory in proportion to the bytes.
#pragma once

#include <cstddef>
#include <span>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/CIMQualifierType.hpp"

namespace OpenWBEM::Codec {

BLOCXX_DECLARE_EXCEPTION2(Codec, ::blocxx::Exception)

using Bytes = std::span<const std::byte>;

/// Of a class only what it declares itself is encoded: propagated features and qualifiers are not.
String encode(const CIMClass& cls);
/// Qualifiers of the instance itself are kept, those of its properties are not.
String encode(const CIMInstance& instance);
String encode(const CIMQualifierType& qualifierType);
String encode(const CIMObjectPath& path);

// The forms in which objects are sent: with all that they have, inherited or from their class.
String encodeView(const CIMClass& cls);
String encodeView(const CIMInstance& instance);

/// Either form.
CIMClass decodeClass(Bytes bytes);
// The arguments of an operation: names in them are for the operation to refuse.
CIMClass decodeClassArgument(Bytes bytes);
CIMInstance decodeInstanceArgument(Bytes bytes);
CIMQualifierType decodeQualifierTypeArgument(Bytes bytes);
CIMObjectPath decodeObjectPathArgument(Bytes bytes);
CIMInstance decodeInstance(Bytes bytes);
CIMInstance decodeInstanceView(Bytes bytes);
CIMQualifierType decodeQualifierType(Bytes bytes);
CIMObjectPath decodeObjectPath(Bytes bytes);

}  // namespace OpenWBEM::Codec
