// SPDX-License-Identifier: Apache-2.0
//
// The declaration of a qualifier (DSP0004 5.5.4, 7.5.4): its type, default, scopes and flavors.
#pragma once

#include "openwbem/model/CIMDataType.hpp"
#include "openwbem/model/CIMValue.hpp"
#include "openwbem/model/CowReference.hpp"

namespace OpenWBEM {

/// How a qualifier propagates to subclasses (DSP0004 5.5.4.1), with the defaults of the standard.
struct CIMFlavor {
    bool overridable = true;  ///< EnableOverride, else DisableOverride
    bool toSubclass = true;   ///< ToSubclass, else Restricted
    bool translatable = false;
    friend bool operator==(const CIMFlavor&, const CIMFlavor&) noexcept = default;
};

/// The kinds of element that may have a qualifier, as bits.
namespace CIMScope {
enum Bits : uint8_t {
    CLASS = 1,
    ASSOCIATION = 2,
    INDICATION = 4,
    PROPERTY = 8,
    REFERENCE = 16,
    METHOD = 32,
    PARAMETER = 64,
    ANY = 127
};
}  // namespace CIMScope

class CIMQualifierType {
public:
    CIMQualifierType() = default;
    explicit CIMQualifierType(String name);

    const String& getName() const noexcept { return m_rep->name; }
    const CIMDataType& getDataType() const noexcept { return m_rep->type; }
    const CIMValue& getDefaultValue() const noexcept { return m_rep->defaultValue; }
    uint8_t getScopes() const noexcept { return m_rep->scopes; }  ///< CIMScope bits
    const CIMFlavor& getFlavor() const noexcept { return m_rep->flavor; }

    CIMQualifierType& setName(String name);
    CIMQualifierType& setDataType(CIMDataType type);
    CIMQualifierType& setDefaultValue(CIMValue value);
    CIMQualifierType& setScopes(uint8_t scopes);
    CIMQualifierType& setFlavor(CIMFlavor flavor);

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    friend bool operator==(const CIMQualifierType& a, const CIMQualifierType& b);

private:
    struct Rep : CowRep<Rep> {
        String name;
        CIMDataType type;
        CIMValue defaultValue;
        uint8_t scopes = 0;
        CIMFlavor flavor;
    };
    CowReference<Rep> m_rep;
};

}  // namespace OpenWBEM
