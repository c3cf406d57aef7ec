// SPDX-License-Identifier: Apache-2.0
//
// Any bytes decode to an object or are refused, as a stored object, as an operand or as a result. A
// decoded object can be encoded and decoded again.
#include <cstdlib>

#include "openwbem/wire/CIMCodec.hpp"

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

template <class Decode, class Encode>
void check(Decode decode, Encode encode, Codec::Bytes bytes) {
    try {
        const auto object = decode(bytes);
        const String again = encode(object);
        if (!(decode(std::as_bytes(std::span(again))) == object)) {
            std::abort();
        }
    } catch (const Codec::CodecException&) {
        return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Codec::Bytes bytes = std::as_bytes(std::span(data, size));
    const auto sent = [](const auto& object) { return Codec::encodeView(object); };
    // Decoding a class takes either form, and the stored one has only what the class itself
    // declares.
    check(Codec::decodeClass, sent, bytes);
    const auto stored = [](const auto& object) { return Codec::encode(object); };
    check(Codec::decodeInstance, stored, bytes);
    check(Codec::decodeQualifierType, stored, bytes);
    check(Codec::decodeObjectPath, stored, bytes);
    check(Codec::decodeInstanceView, sent, bytes);
    check(Codec::decodeClassArgument, sent, bytes);
    check(Codec::decodeInstanceArgument, sent, bytes);
    check(Codec::decodeQualifierTypeArgument, sent, bytes);
    check(Codec::decodeObjectPathArgument, sent, bytes);
    return 0;
}
