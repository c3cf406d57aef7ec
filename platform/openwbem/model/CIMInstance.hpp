// SPDX-License-Identifier: Apache-2.0
//
// An instance of a class: its properties with their values. Which of them are keys is marked on the
// properties themselves, so that an instance knows its path without its class.
#pragma once

#include "openwbem/model/CIMProperty.hpp"

namespace OpenWBEM {

namespace ModelSupport {
class ObjectFilter;
}

class CIMInstance {
public:
    CIMInstance() = default;
    explicit CIMInstance(String className);

    const String& getClassName() const noexcept { return m_rep->className; }
    const CIMPropertyArray& getProperties() const noexcept { return m_rep->properties; }
    const CIMQualifierArray& getQualifiers() const noexcept { return m_rep->qualifiers; }

    CIMInstance& setClassName(String className);
    CIMInstance& setProperties(CIMPropertyArray properties);
    CIMInstance& setQualifiers(CIMQualifierArray qualifiers);

    /// The property of that name (without regard to case), or null.
    const CIMProperty* getProperty(std::string_view name) const noexcept;
    /// Its value; null when it has none or the property is not there.
    CIMValue getPropertyValue(std::string_view name) const;
    /// Replaces the property of that name, or appends it.
    CIMInstance& setProperty(CIMProperty property);
    /// Sets the value of the property of that name, keeping its type and place. A property that is
    /// not there is appended with the value's type. Throws CIMException TYPE_MISMATCH when a value
    /// of another type is set.
    CIMInstance& setProperty(std::string_view name, CIMValue value);

    /// The properties that are marked as keys.
    CIMPropertyArray getKeys() const;

    /// A copy with the wanted parts only.
    CIMInstance filter(const ModelSupport::ObjectFilter& cut) const;

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    /// Class names without regard to case; properties and qualifiers in any order.
    friend bool operator==(const CIMInstance& a, const CIMInstance& b);

private:
    struct Rep : CowRep<Rep> {
        String className;
        CIMPropertyArray properties;
        CIMQualifierArray qualifiers;
    };
    CowReference<Rep> m_rep;
};

}  // namespace OpenWBEM
