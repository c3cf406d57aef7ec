// SPDX-License-Identifier: Apache-2.0
//
// Private to ClassDerivation: makes the qualifiers of an element in a derived class from its own,
// which are checked against their declarations, and those that propagate (DSP0004 5.5.4).
#pragma once

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/ClassDerivation.hpp"

namespace OpenWBEM {

/// The element that is being derived, for messages.
struct DerivationPlace {
    std::string_view className;
    std::string_view feature = {};
    std::string_view parameter = {};

    /// Throws ClassDerivationException for this place.
    [[noreturn]] void fail(CIMException::ErrNoType status, std::string_view what,
                           std::string_view qualifier = {}) const;
};

/// The qualifiers that propagate to a subclass, marked as propagated.
CIMQualifierArray inheritableQualifiers(const CIMQualifierArray& qualifiers);
/// Whether all are marked as propagated.
bool areInherited(const CIMQualifierArray& qualifiers) noexcept;

/// Whether an element with these qualifiers inherits none from the element that it overrides, which
/// has those `above` (null when it overrides nothing).
bool inheritsNone(const CIMQualifierArray& qualifiers, const CIMQualifierArray* above) noexcept;
/// Throws ClassDerivationException unless each qualifier that is not propagated is declared, in
/// scope and of its type.
void checkAgainstTypes(const CIMQualifierArray& qualifiers, uint8_t scope,
                       const DerivationPlace& place, const QualifierTypeLookup& types);
/// The same, and throws for a qualifier that is given twice.
void checkQualifiers(const CIMQualifierArray& own, uint8_t scope, const DerivationPlace& place,
                     const QualifierTypeLookup& types);

/// The own and inherited qualifiers of an element of the kind `scope` (one CIMScope bit). `above`
/// is null when it overrides nothing. Throws as checkQualifiers() does, and when the element
/// changes a qualifier that it must not override.
CIMQualifierArray mergeQualifiers(const CIMQualifierArray& declared, const CIMQualifierArray* above,
                                  uint8_t scope, const DerivationPlace& place,
                                  const QualifierTypeLookup& types);

}  // namespace OpenWBEM
