// SPDX-License-Identifier: Apache-2.0
//
// Reduces objects to their wanted parts. Also small helpers for properties and types.
#pragma once

#include <optional>
#include <string_view>
#include <unordered_set>

#include "openwbem/model/CIMMethod.hpp"
#include "openwbem/model/CIMProperty.hpp"
#include "openwbem/model/WantedParts.hpp"

namespace OpenWBEM::ModelSupport {

class ObjectFilter {
public:
    ObjectFilter(const WantedParts& wanted);  // NOLINT(google-explicit-constructor): its cut

    bool keepsAll() const noexcept { return !cutsQualifiers() && m_classOrigin && !m_listed; }
    CIMQualifierArray qualifiers(const CIMQualifierArray& all) const;
    CIMPropertyArray properties(const CIMPropertyArray& all) const;
    CIMMethodArray methods(const CIMMethodArray& all) const;

private:
    bool isListed(const CIMProperty& property) const;
    CIMMethod method(const CIMMethod& whole) const;
    bool cutsQualifiers() const noexcept { return m_localOnly || !m_qualifiers; }

    bool m_localOnly;
    bool m_qualifiers;
    bool m_classOrigin;
    std::optional<std::unordered_set<String>> m_listed;  // in lower case
};

/// A copy without qualifiers, as instances hold it.
CIMProperty withoutQualifiers(const CIMProperty& property);

/// The type of a property that holds `value`.
CIMDataType typeOf(const CIMValue& value);

/// A type for messages: "uint8[5]", "null".
String describe(const CIMDataType& type);

}  // namespace OpenWBEM::ModelSupport
