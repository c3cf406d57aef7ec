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
    CIMClass() = default;
    explicit CIMClass(String name, String superClass = String());

    const String& getName() const noexcept { return m_rep->name; }
    /// Empty for a class at the top.
    const String& getSuperClass() const noexcept { return m_rep->superClass; }
    const CIMQualifierArray& getQualifiers() const noexcept { return m_rep->qualifiers; }
    /// Properties and references, inherited ones first in a derived class.
    const CIMPropertyArray& getProperties() const noexcept { return m_rep->properties; }
    const CIMMethodArray& getMethods() const noexcept { return m_rep->methods; }

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

    /// For ClassDerivation: records, until this class is changed, that it was derived from
    /// `superClass` (null at the top).
    void recordDerivedFrom(const CIMClass* superClass);
    /// Whether that is recorded for `superClass`, which has not changed since.
    bool isKnownDerivedFrom(const CIMClass* superClass) const noexcept;

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    /// Names without regard to case; superclass, qualifiers, properties and methods in any order.
    friend bool operator==(const CIMClass& a, const CIMClass& b);

private:
    struct Rep : CowRep<Rep> {
        String name;
        String superClass;
        CIMQualifierArray qualifiers;
        CIMPropertyArray properties;
        CIMMethodArray methods;
        // An id is never used again. A pointer to the superclass would keep all ancestors alive, or
        // could point to another class later.
        mutable Memo<uint64_t> id;   ///< of this content; 0 until getId() assigns one
        Memo<uint64_t> derivedFrom;  ///< the superclass's id, 0 when not known

        void forgetMemo() noexcept {
            id.value = 0;
            derivedFrom.value = 0;
        }
        uint64_t getId() const noexcept {
            static uint64_t last = ID_OF_NO_CLASS;
            if (id.value == 0) {
                id.value = ++last;
            }
            return id.value;
        }
        /// The id of a superclass, ID_OF_NO_CLASS for null, 0 for a class without content.
        static uint64_t idOf(const CIMClass* cls) noexcept {
            if (cls == nullptr) {
                return ID_OF_NO_CLASS;
            }
            return cls->m_rep ? cls->m_rep->getId() : 0;
        }

        static constexpr uint64_t ID_OF_NO_CLASS = 1;
    };
    CowReference<Rep> m_rep;
};

}  // namespace OpenWBEM
