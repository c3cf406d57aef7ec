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
    CIMInstance();
    explicit CIMInstance(String className);

    const String& getClassName() const noexcept;
    const CIMPropertyArray& getProperties() const noexcept;
    const CIMQualifierArray& getQualifiers() const noexcept;

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

    explicit operator bool() const noexcept;
    /// Class names without regard to case; properties and qualifiers in any order.
    friend bool operator==(const CIMInstance& a, const CIMInstance& b);

private:
    struct Rep;
    CowReference<Rep> m_rep;

public:
    CIMInstance(const CIMInstance&) noexcept;
    CIMInstance(CIMInstance&&) noexcept;
    CIMInstance& operator=(const CIMInstance&) noexcept;
    CIMInstance& operator=(CIMInstance&&) noexcept;
    ~CIMInstance();
};

}  // namespace OpenWBEM
