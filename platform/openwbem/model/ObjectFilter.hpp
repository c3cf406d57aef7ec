// SPDX-License-Identifier: Apache-2.0
//
// The cut that getClass and getInstance make for their callers (DSP0200 5.3.2.1, 5.3.2.2), and
// small helpers on properties and types that classes and instances share. For the model's own
// sources, and for those who cut many objects in the same way: a filter is made once for all.
#pragma once

#include <string_view>
#include <unordered_set>

#include "openwbem/model/CIMMethod.hpp"
#include "openwbem/model/CIMProperty.hpp"

namespace OpenWBEM::ModelSupport {

class ObjectFilter {
public:
    ObjectFilter(bool localOnly, bool includeQualifiers, bool includeClassOrigin,
                 const StringArray* propertyList);

    bool keepsAll() const noexcept {
        return !m_localOnly && m_includeQualifiers && m_includeClassOrigin && !m_hasList;
    }
    CIMQualifierArray qualifiers(const CIMQualifierArray& all) const;
    CIMPropertyArray properties(const CIMPropertyArray& all) const;
    CIMMethodArray methods(const CIMMethodArray& all) const;

private:
    bool isListed(const CIMProperty& property) const;
    CIMMethod method(const CIMMethod& whole) const;
    bool cutsQualifiers() const noexcept { return m_localOnly || !m_includeQualifiers; }

    bool m_localOnly;
    bool m_includeQualifiers;
    bool m_includeClassOrigin;
    bool m_hasList;
    std::unordered_set<String> m_list;  // in lower case
};

/// The property as an instance holds it.
CIMProperty withoutQualifiers(const CIMProperty& property);

/// The type that a property has which holds `value`.
CIMDataType typeOf(const CIMValue& value);

/// A type for messages: "uint8[5]", "null".
String describe(const CIMDataType& type);

}  // namespace OpenWBEM::ModelSupport
