// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/Embedding.hpp"

namespace OpenWBEM {

Embedding embeddingOf(const CIMQualifierArray& qualifiers) {
    const CIMQualifier* instance = findQualifier(qualifiers, "EmbeddedInstance");
    if (instance != nullptr && instance->getValue().getType() == CIMDataType::STRING &&
        !instance->getValue().isArray()) {
        return {Embedding::INSTANCE, instance->getValue().get<String>()};
    }
    return {hasTrueQualifier(qualifiers, "EmbeddedObject") ? Embedding::OBJECT : Embedding::NOTHING,
            {}};
}

}  // namespace OpenWBEM
