// SPDX-License-Identifier: Apache-2.0
//
// A class, association or indication. Two forms occur: as declared (local features only) and as
// derived by ClassDerivation (inherited features and qualifiers added, marked as propagated).
#pragma once

#include "openwbem/model/CIMMethod.hpp"
#include "openwbem/model/CIMProperty.hpp"

namespace OpenWBEM {

namespace ModelSupport {
class ObjectFilter;
}

class CIMClass {
public:
    CIMClass();
    explicit CIMClass(String name, String superClass = String());

    const String& getName() const noexcept;
    /// Empty for a class at the top.
    const String& getSuperClass() const noexcept;
    const CIMQualifierArray& getQualifiers() const noexcept;
    /// Properties and references, inherited ones first in a derived class.
    const CIMPropertyArray& getProperties() const noexcept;
    const CIMMethodArray& getMethods() const noexcept;

    CIMClass& setName(String name);
    CIMClass& setSuperClass(String name);
    CIMClass& setQualifiers(CIMQualifierArray qualifiers);
    CIMClass& setProperties(CIMPropertyArray properties);
    CIMClass& setMethods(CIMMethodArray methods);

    /// The feature of that name (without regard to case), or null.
    const CIMProperty* getProperty(std::string_view name) const noexcept;
    const CIMMethod* getMethod(std::string_view name) const noexcept;
    const CIMQualifier* getQualifier(std::string_view name) const noexcept {
        return findQualifier(getQualifiers(), name);
    }
    bool isAssociation() const noexcept { return hasTrueQualifier(getQualifiers(), "Association"); }
    bool isIndication() const noexcept { return hasTrueQualifier(getQualifiers(), "Indication"); }
    bool isAbstract() const noexcept { return hasTrueQualifier(getQualifiers(), "Abstract"); }
    /// The properties that make up the key, in class order.
    CIMPropertyArray getKeys() const;
    bool hasKeys() const noexcept;

    /// An instance with every property of the class, its default or null, without qualifiers.
    CIMInstance newInstance() const;

    /// A copy with the wanted parts only.
    CIMClass filter(const ModelSupport::ObjectFilter& cut) const;

    /// For ClassDerivation: notes, until this class is changed, that it is what derivation from
    /// `superClass` (null at the top) gives; and tells whether it is, from that very class as it is
    /// now. False when nothing is known of it.
    void noteDerivedFrom(const CIMClass* superClass);
    bool isKnownDerivedFrom(const CIMClass* superClass) const noexcept;

    explicit operator bool() const noexcept;
    /// Names without regard to case; superclass, qualifiers, properties and methods in any order.
    friend bool operator==(const CIMClass& a, const CIMClass& b);

private:
    struct Rep;
    CowReference<Rep> m_rep;

public:
    CIMClass(const CIMClass&) noexcept;
    CIMClass(CIMClass&&) noexcept;
    CIMClass& operator=(const CIMClass&) noexcept;
    CIMClass& operator=(CIMClass&&) noexcept;
    ~CIMClass();
};

}  // namespace OpenWBEM
