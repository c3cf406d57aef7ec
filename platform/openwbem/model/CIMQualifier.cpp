// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMQualifier.hpp"

#include "openwbem/model/ModelSupport.hpp"

namespace OpenWBEM {

CIMQualifier::CIMQualifier(String name, CIMValue value, CIMFlavor flavor) {
    Rep& rep = m_rep.write();
    rep.name = std::move(name);
    rep.value = std::move(value);
    rep.flavor = flavor;
}

CIMQualifier& CIMQualifier::setValue(CIMValue value) {
    m_rep.write().value = std::move(value);
    return *this;
}

CIMQualifier& CIMQualifier::setFlavor(CIMFlavor flavor) {
    m_rep.write().flavor = flavor;
    return *this;
}

bool operator==(const CIMQualifier& a, const CIMQualifier& b) {
    return a.m_rep.get() == b.m_rep.get() ||
           (blocxx::equalsIgnoreCase(a.getName(), b.getName()) && a.getFlavor() == b.getFlavor() &&
            a.getValue() == b.getValue());
}

const CIMQualifier* findQualifier(const CIMQualifierArray& qualifiers,
                                  std::string_view name) noexcept {
    return ModelSupport::findNamed(qualifiers, name);
}

bool hasTrueQualifier(const CIMQualifierArray& qualifiers, std::string_view name) noexcept {
    const CIMQualifier* qualifier = findQualifier(qualifiers, name);
    if (qualifier == nullptr) {
        return false;
    }
    const CIMValue& value = qualifier->getValue();
    return value.getType() == CIMDataType::BOOLEAN && !value.isArray() && value.get<bool>();
}

}  // namespace OpenWBEM
