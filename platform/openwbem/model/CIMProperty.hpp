// SPDX-License-Identifier: Apache-2.0
//
// A property or reference of a class (its value is the default) or of an instance. "Propagated"
// means inherited and not overridden. Equality ignores "propagated", "key" and the class origin.
#pragma once

#include "openwbem/model/CIMQualifier.hpp"

namespace OpenWBEM {

class CIMProperty {
public:
    CIMProperty() = default;
    explicit CIMProperty(String name, CIMDataType type = CIMDataType(),
                         CIMValue value = CIMValue());

    const String& getName() const noexcept { return m_rep->name; }
    const CIMDataType& getDataType() const noexcept { return m_rep->type; }
    const CIMValue& getValue() const noexcept { return m_rep->value; }
    const CIMQualifierArray& getQualifiers() const noexcept { return m_rep->qualifiers; }
    /// The class that introduced the property; empty when not known.
    const String& getClassOrigin() const noexcept { return m_rep->classOrigin; }
    bool isPropagated() const noexcept { return m_propagated; }
    /// Whether the property is part of the key of its class.
    bool isKey() const noexcept { return m_key; }

    CIMProperty& setName(String name);
    CIMProperty& setDataType(CIMDataType type);
    CIMProperty& setValue(CIMValue value);
    CIMProperty& setQualifiers(CIMQualifierArray qualifiers);
    CIMProperty& setClassOrigin(String className);
    CIMProperty& setPropagated(bool propagated) noexcept {
        m_propagated = propagated;
        return *this;
    }
    CIMProperty& setKey(bool key) noexcept {
        m_key = key;
        return *this;
    }

    const CIMQualifier* getQualifier(std::string_view name) const noexcept {
        return findQualifier(getQualifiers(), name);
    }

    /// The property as a subclass inherits it: marked as propagated, with the qualifiers that
    /// propagate. All subclasses share one representation.
    CIMProperty inherited() const;
    /// The property as a new instance has it: with the default as its value and without qualifiers.
    /// All instances that keep the default share one representation.
    CIMProperty asInstanceProperty() const;

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    /// Names without regard to case, types, values and qualifiers (in any order).
    friend bool operator==(const CIMProperty& a, const CIMProperty& b);

private:
    struct Rep : CowRep<Rep> {
        String name;
        CIMDataType type;
        CIMValue value;
        CIMQualifierArray qualifiers;
        String classOrigin;
        mutable Memo<CowReference<Rep>> inherited;
        mutable Memo<CowReference<Rep>> asInstanceProperty;

        void forgetMemo() noexcept {
            inherited.value = {};
            asInstanceProperty.value = {};
        }
    };
    CowReference<Rep> m_rep;
    bool m_propagated = false;
    bool m_key = false;
};

using CIMPropertyArray = Array<CIMProperty>;

}  // namespace OpenWBEM
