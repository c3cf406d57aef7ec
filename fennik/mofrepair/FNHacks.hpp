// SPDX-License-Identifier: Apache-2.0
//
// Repairs of MOF that was rendered wrongly when it was saved, made in the text before it is
// compiled again. They know two faults, leave everything else as it is, byte for byte, and change
// nothing when they are applied again.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

/// Repairs embedded instances that stand as strings in the properties named by
/// `embeddedProperties`: values of their `stringProperties` get quotes, those of their
/// `arrayProperties` braces and quotes, and a closing brace gets its semicolon. The names are put
/// into regular expressions as they are.
void fixBrokenEmbeddedInstances(blocxx::String& mof, const blocxx::StringArray& embeddedProperties,
                                const blocxx::StringArray& stringProperties,
                                const blocxx::StringArray& arrayProperties);

/// The same for the property "Process" and the names of a process's properties.
void fixBrokenEmbeddedInstances(blocxx::String& mof);

/// Writes rendered MOF so that the repair above leaves it as it is: where it would take an assigned
/// string for a broken embedded instance, the string begins on a line of its own. The meaning
/// stays.
void keepFromRepair(blocxx::String& mof);

/// Replaces each carriage return by the escape sequence that should have been written.
void fixImproperlyEscapedCharacters(blocxx::String& mof);

}  // namespace KOVNS2
