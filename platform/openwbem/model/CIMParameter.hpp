// SPDX-License-Identifier: Apache-2.0
//
// A parameter of a method. Its qualifiers In and Out (DSP0004) give its direction.
#pragma once

#include "openwbem/model/CIMQualifier.hpp"

namespace OpenWBEM {

class CIMParameter {
public:
    CIMParameter() = default;
    explicit CIMParameter(String name, CIMDataType type = CIMDataType());

    const String& getName() const noexcept { return m_rep->name; }
    const CIMDataType& getDataType() const noexcept { return m_rep->type; }
    const CIMQualifierArray& getQualifiers() const noexcept { return m_rep->qualifiers; }

    CIMParameter& setQualifiers(CIMQualifierArray qualifiers);

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    friend bool operator==(const CIMParameter& a, const CIMParameter& b);

private:
    struct Rep : CowRep<Rep> {
        String name;
        CIMDataType type;
        CIMQualifierArray qualifiers;
    };
    CowReference<Rep> m_rep;
};

using CIMParameterArray = Array<CIMParameter>;

}  // namespace OpenWBEM
