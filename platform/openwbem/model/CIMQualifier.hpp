// SPDX-License-Identifier: Apache-2.0
//
// A qualifier on an element, with its flavor there. "Propagated" means that the element inherits it
// from the superclass. Equality ignores "propagated".
#pragma once

#include "openwbem/model/CIMQualifierType.hpp"

namespace OpenWBEM {

class CIMQualifier {
public:
    CIMQualifier() = default;
    CIMQualifier(String name, CIMValue value, CIMFlavor flavor = CIMFlavor());

    const String& getName() const noexcept { return m_rep->name; }
    const CIMValue& getValue() const noexcept { return m_rep->value; }
    const CIMFlavor& getFlavor() const noexcept { return m_rep->flavor; }
    bool isPropagated() const noexcept { return m_propagated; }

    CIMQualifier& setValue(CIMValue value);
    CIMQualifier& setFlavor(CIMFlavor flavor);
    CIMQualifier& setPropagated(bool propagated) noexcept {
        m_propagated = propagated;
        return *this;
    }

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    /// Names without regard to case, values and flavors.
    friend bool operator==(const CIMQualifier& a, const CIMQualifier& b);

private:
    struct Rep : CowRep<Rep> {
        String name;
        CIMValue value;
        CIMFlavor flavor;
    };
    CowReference<Rep> m_rep;
    bool m_propagated = false;
};

using CIMQualifierArray = Array<CIMQualifier>;

/// The qualifier of that name in a list, or null.
const CIMQualifier* findQualifier(const CIMQualifierArray& qualifiers,
                                  std::string_view name) noexcept;
/// Whether the list has a boolean qualifier of that name with the value true.
bool hasTrueQualifier(const CIMQualifierArray& qualifiers, std::string_view name) noexcept;

}  // namespace OpenWBEM
