// SPDX-License-Identifier: Apache-2.0
//
// The qualifiers of an element in a derived class: its own, checked against their declarations, and
// those that the superclass passes down (DSP0004 5.5.4). A part of ClassDerivation, for no other
// use.
#pragma once

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/ClassDerivation.hpp"

namespace OpenWBEM {

/// Where in the class the derivation stands: for messages.
struct DerivationPlace {
    std::string_view className;
    std::string_view feature = {};
    std::string_view parameter = {};

    /// Throws ClassDerivationException for this place.
    [[noreturn]] void fail(CIMException::ErrNoType status, std::string_view what,
                           std::string_view qualifier = {}) const;
};

/// What an element below inherits of these qualifiers, marked as propagated.
CIMQualifierArray inheritableQualifiers(const CIMQualifierArray& qualifiers);
/// Whether they are what inheritableQualifiers() would make of them already.
bool areInherited(const CIMQualifierArray& qualifiers) noexcept;

/// Whether an element with these qualifiers, which overrides one with those `above` (null when it
/// overrides nothing), has just its own.
bool hasOwnOnly(const CIMQualifierArray& qualifiers, const CIMQualifierArray* above) noexcept;
/// Checks the qualifiers that are the element's own against their declarations: that they are
/// declared, in scope, and of their type.
void checkAgainstTypes(const CIMQualifierArray& qualifiers, uint8_t scope,
                       const DerivationPlace& place, const QualifierTypeLookup& types);
/// What mergeQualifiers() checks in an element that has its own qualifiers only.
void checkQualifiers(const CIMQualifierArray& own, uint8_t scope, const DerivationPlace& place,
                     const QualifierTypeLookup& types);

/// Own and inherited qualifiers of an element on which `scope` (one CIMScope bit) is; `above` is
/// null when it overrides nothing. Throws ClassDerivationException.
CIMQualifierArray mergeQualifiers(const CIMQualifierArray& declared, const CIMQualifierArray* above,
                                  uint8_t scope, const DerivationPlace& place,
                                  const QualifierTypeLookup& types);

}  // namespace OpenWBEM
