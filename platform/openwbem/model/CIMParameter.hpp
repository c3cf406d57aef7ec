// SPDX-License-Identifier: Apache-2.0
//
// A parameter of a method; whether it is IN or OUT is told by its qualifiers (DSP0004 5.6.3.20).
#pragma once

#include "openwbem/model/CIMQualifier.hpp"

namespace OpenWBEM {

class CIMParameter {
public:
    CIMParameter();
    explicit CIMParameter(String name, CIMDataType type = CIMDataType());

    const String& getName() const noexcept;
    const CIMDataType& getDataType() const noexcept;
    const CIMQualifierArray& getQualifiers() const noexcept;

    CIMParameter& setName(String name);
    CIMParameter& setDataType(CIMDataType type);
    CIMParameter& setQualifiers(CIMQualifierArray qualifiers);

    explicit operator bool() const noexcept;
    friend bool operator==(const CIMParameter& a, const CIMParameter& b);

private:
    struct Rep;
    CowReference<Rep> m_rep;

public:
    CIMParameter(const CIMParameter&) noexcept;
    CIMParameter(CIMParameter&&) noexcept;
    CIMParameter& operator=(const CIMParameter&) noexcept;
    CIMParameter& operator=(CIMParameter&&) noexcept;
    ~CIMParameter();
};

using CIMParameterArray = Array<CIMParameter>;

}  // namespace OpenWBEM
