// SPDX-License-Identifier: Apache-2.0
//
// Any bytes decode to an object or are refused. A decoded object can be encoded and decoded again.
#include <cstdlib>

#include "openwbem/wire/CIMCodec.hpp"

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

template <class Decode>
void check(Decode decode, Codec::Bytes bytes) {
    try {
        const auto object = decode(bytes);
        const String again = Codec::encode(object);
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
    check(Codec::decodeClass, bytes);
    check(Codec::decodeInstance, bytes);
    check(Codec::decodeQualifierType, bytes);
    check(Codec::decodeObjectPath, bytes);
    return 0;
}
