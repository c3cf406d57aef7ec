// SPDX-License-Identifier: Apache-2.0
//
// A method of a class: its return type, parameters in order, and qualifiers.
#pragma once

#include "openwbem/model/CIMParameter.hpp"

namespace OpenWBEM {

class CIMMethod {
public:
    CIMMethod();
    explicit CIMMethod(String name, CIMDataType returnType = CIMDataType());

    const String& getName() const noexcept;
    const CIMDataType& getReturnType() const noexcept;
    const CIMParameterArray& getParameters() const noexcept;
    const CIMQualifierArray& getQualifiers() const noexcept;
    /// The class that introduced the method; empty when not known.
    const String& getClassOrigin() const noexcept;
    bool isPropagated() const noexcept { return m_propagated; }

    CIMMethod& setName(String name);
    CIMMethod& setReturnType(CIMDataType type);
    CIMMethod& setParameters(CIMParameterArray parameters);
    CIMMethod& setQualifiers(CIMQualifierArray qualifiers);
    CIMMethod& setClassOrigin(String className);
    CIMMethod& setPropagated(bool propagated) noexcept {
        m_propagated = propagated;
        return *this;
    }

    /// The method as a subclass inherits it: marked as propagated, with the qualifiers that pass
    /// down. All that inherit it share one.
    CIMMethod inherited() const;

    explicit operator bool() const noexcept;
    /// Names without regard to case, return types, parameters in order, qualifiers in any order.
    friend bool operator==(const CIMMethod& a, const CIMMethod& b);

private:
    struct Rep;
    CowReference<Rep> m_rep;
    bool m_propagated = false;

public:
    CIMMethod(const CIMMethod&) noexcept;
    CIMMethod(CIMMethod&&) noexcept;
    CIMMethod& operator=(const CIMMethod&) noexcept;
    CIMMethod& operator=(CIMMethod&&) noexcept;
    ~CIMMethod();
};

using CIMMethodArray = Array<CIMMethod>;

}  // namespace OpenWBEM
