// SPDX-License-Identifier: Apache-2.0
//
// A qualifier on an element, with the flavor that holds there. "Propagated" tells that the element
// has it from the superclass; it is not part of equality.
#pragma once

#include "openwbem/model/CIMQualifierType.hpp"

namespace OpenWBEM {

class CIMQualifier {
public:
    CIMQualifier();
    CIMQualifier(String name, CIMValue value, CIMFlavor flavor = CIMFlavor());

    const String& getName() const noexcept;
    const CIMValue& getValue() const noexcept;
    const CIMFlavor& getFlavor() const noexcept;
    bool isPropagated() const noexcept { return m_propagated; }

    CIMQualifier& setName(String name);
    CIMQualifier& setValue(CIMValue value);
    CIMQualifier& setFlavor(CIMFlavor flavor);
    CIMQualifier& setPropagated(bool propagated) noexcept {
        m_propagated = propagated;
        return *this;
    }

    explicit operator bool() const noexcept;
    /// Names without regard to case, values and flavors.
    friend bool operator==(const CIMQualifier& a, const CIMQualifier& b);

private:
    struct Rep;
    CowReference<Rep> m_rep;
    bool m_propagated = false;

public:
    CIMQualifier(const CIMQualifier&) noexcept;
    CIMQualifier(CIMQualifier&&) noexcept;
    CIMQualifier& operator=(const CIMQualifier&) noexcept;
    CIMQualifier& operator=(CIMQualifier&&) noexcept;
    ~CIMQualifier();
};

using CIMQualifierArray = Array<CIMQualifier>;

/// The qualifier of that name in a list, or null.
const CIMQualifier* findQualifier(const CIMQualifierArray& qualifiers,
                                  std::string_view name) noexcept;
/// Whether a boolean qualifier of that name is there and true.
bool hasTrueQualifier(const CIMQualifierArray& qualifiers, std::string_view name) noexcept;

}  // namespace OpenWBEM
