// SPDX-License-Identifier: Apache-2.0
//
// What a string is declared to hold besides text (DSP0004 5.6.3.14, the qualifiers EmbeddedInstance
// and EmbeddedObject).
#pragma once

#include "openwbem/model/CIMQualifier.hpp"

namespace OpenWBEM {

struct Embedding {
    enum Kind : uint8_t { NOTHING, INSTANCE, OBJECT };
    Kind kind = NOTHING;
    String className;  ///< of an INSTANCE
};

/// What the qualifiers of an element declared as a string say that it holds.
Embedding embeddingOf(const CIMQualifierArray& qualifiers);

}  // namespace OpenWBEM
