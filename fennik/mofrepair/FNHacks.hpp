// SPDX-License-Identifier: Apache-2.0
//
// Repairs MOF that an earlier version rendered wrongly, in the text, before it is compiled again.
// Two faults are known. Everything else stays as it is, byte for byte. The repairs are idempotent.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

/// Repairs embedded instances, which are string values of the properties `embeddedProperties`. Puts
/// quotes around values of their `stringProperties`, braces and quotes around values of their
/// `arrayProperties`, and a semicolon after a closing brace. The names go into regular expressions
/// unescaped.
void fixBrokenEmbeddedInstances(blocxx::String& mof, const blocxx::StringArray& embeddedProperties,
                                const blocxx::StringArray& stringProperties,
                                const blocxx::StringArray& arrayProperties);

/// The same for the property "Process" and the properties of a process.
void fixBrokenEmbeddedInstances(blocxx::String& mof);

/// Makes the repair above leave `mof` unchanged: moves each assigned string that it would take for
/// a broken embedded instance to a line of its own. The meaning stays the same.
void keepFromRepair(blocxx::String& mof);

/// Replaces each carriage return by its escape sequence.
void fixImproperlyEscapedCharacters(blocxx::String& mof);

}  // namespace KOVNS2
