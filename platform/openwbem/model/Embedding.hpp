// SPDX-License-Identifier: Apache-2.0
//
// Which objects a string may hold (DSP0004, the qualifiers EmbeddedInstance and EmbeddedObject).
#pragma once

#include "openwbem/model/CIMQualifier.hpp"

namespace OpenWBEM {

struct Embedding {
    enum Kind : uint8_t { NOTHING, INSTANCE, OBJECT };
    Kind kind = NOTHING;
    String className;  ///< the class of an INSTANCE
};

/// What an element with these qualifiers may hold. It must be declared as a string.
Embedding embeddingOf(const CIMQualifierArray& qualifiers);

}  // namespace OpenWBEM
