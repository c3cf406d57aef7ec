// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as an object path: they are refused with an exception, or the path's own text parses to
// the same path.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using OpenWBEM::CIMObjectPath;
    CIMObjectPath path;
    try {
        path = CIMObjectPath::parse({reinterpret_cast<const char*>(data), size});
    } catch (const OpenWBEM::CIMException& e) {
        if (e.getErrNo() != OpenWBEM::CIMException::INVALID_PARAMETER) {
            std::abort();
        }
        return 0;
    }
    // Outside the block above, because the path's own text must never be refused.
    const auto text = path.toString();
    const CIMObjectPath again = CIMObjectPath::parse(text);
    if (!(again == path) || again.toString() != text ||
        again.canonicalKey() != path.canonicalKey()) {
        std::abort();
    }
    return 0;
}
