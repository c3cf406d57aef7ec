// SPDX-License-Identifier: Apache-2.0
//
// A method of a class: its return type, parameters in order, and qualifiers.
#pragma once

#include "openwbem/model/CIMParameter.hpp"

namespace OpenWBEM {

class CIMMethod {
public:
    CIMMethod() = default;
    explicit CIMMethod(String name, CIMDataType returnType = CIMDataType());

    const String& getName() const noexcept { return m_rep->name; }
    const CIMDataType& getReturnType() const noexcept { return m_rep->returnType; }
    const CIMParameterArray& getParameters() const noexcept { return m_rep->parameters; }
    const CIMQualifierArray& getQualifiers() const noexcept { return m_rep->qualifiers; }
    /// The class that introduced the method; empty when not known.
    const String& getClassOrigin() const noexcept { return m_rep->classOrigin; }
    bool isPropagated() const noexcept { return m_propagated; }

    CIMMethod& setParameters(CIMParameterArray parameters);
    CIMMethod& setQualifiers(CIMQualifierArray qualifiers);
    CIMMethod& setClassOrigin(String className);
    CIMMethod& setPropagated(bool propagated) noexcept {
        m_propagated = propagated;
        return *this;
    }

    /// The method as a subclass inherits it: marked as propagated, with the qualifiers that
    /// propagate. All subclasses share one representation.
    CIMMethod inherited() const;

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    /// Names without regard to case, return types, parameters in order, qualifiers in any order.
    friend bool operator==(const CIMMethod& a, const CIMMethod& b);

private:
    struct Rep : CowRep<Rep> {
        String name;
        CIMDataType returnType;
        CIMParameterArray parameters;
        CIMQualifierArray qualifiers;
        String classOrigin;
        mutable Memo<CowReference<Rep>> inherited;

        void forgetMemo() noexcept { inherited.value = {}; }
    };
    CowReference<Rep> m_rep;
    bool m_propagated = false;
};

using CIMMethodArray = Array<CIMMethod>;

}  // namespace OpenWBEM
