// SPDX-License-Identifier: Apache-2.0
//
// An instance of a class: its properties with their values. Keys are marked on the properties, so
// that the path of an instance can be made without its class.
#pragma once

#include "openwbem/model/CIMObjectPath.hpp"

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
    /// The value of that property; null when there is no such property, too.
    CIMValue getPropertyValue(std::string_view name) const;
    /// Replaces the property of that name, or appends it.
    CIMInstance& setProperty(CIMProperty property);
    /// Sets the value of the property of that name and keeps its type and place. Appends a missing
    /// property with the value's type. Throws CIMException TYPE_MISMATCH when the property cannot
    /// hold the value.
    CIMInstance& setProperty(std::string_view name, CIMValue value);

    /// The properties that are marked as keys.
    CIMPropertyArray getKeys() const;

    /// Where the instance was found; null unless that was asked for (WantedParts). It is no part of
    /// the value: it does not count in comparisons and is not stored.
    const CIMObjectPath& getPath() const noexcept { return m_rep->path; }
    CIMInstance& setPath(CIMObjectPath path);

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
        CIMObjectPath path;
    };
    CowReference<Rep> m_rep;
};

}  // namespace OpenWBEM
