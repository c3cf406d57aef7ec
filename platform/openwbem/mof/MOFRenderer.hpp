// SPDX-License-Identifier: Apache-2.0
//
// Renders objects as MOF (DSP0004 Annex A). Compiling the text again, with the same qualifier types
// and classes, gives an equal object. Features and qualifiers that a class inherits are left out.
#pragma once

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMQualifierType.hpp"

namespace OpenWBEM::MOF {

String toMOF(const CIMQualifierType& qualifierType);
String toMOF(const CIMClass& cls);
String toMOF(const CIMInstance& instance);
/// A value as an initializer: "NULL", "5", "\"text\"", "{1, 2}".
String toMOF(const CIMValue& value);
/// A string as a MOF string literal, quotes included.
String toMOFString(std::string_view text);

}  // namespace OpenWBEM::MOF
