// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMQualifierType.hpp"

#include "openwbem/model/ModelSupport.hpp"

namespace OpenWBEM {

CIMQualifierType::CIMQualifierType(String name) {
    m_rep.write().name = std::move(name);
}

CIMQualifierType& CIMQualifierType::setName(String name) {
    m_rep.write().name = std::move(name);
    return *this;
}

CIMQualifierType& CIMQualifierType::setDataType(CIMDataType type) {
    m_rep.write().type = std::move(type);
    return *this;
}

CIMQualifierType& CIMQualifierType::setDefaultValue(CIMValue value) {
    m_rep.write().defaultValue = std::move(value);
    return *this;
}

CIMQualifierType& CIMQualifierType::setScopes(uint8_t scopes) {
    m_rep.write().scopes = scopes;
    return *this;
}

CIMQualifierType& CIMQualifierType::setFlavor(CIMFlavor flavor) {
    m_rep.write().flavor = flavor;
    return *this;
}

bool operator==(const CIMQualifierType& a, const CIMQualifierType& b) {
    return a.m_rep.get() == b.m_rep.get() ||
           (blocxx::equalsIgnoreCase(a.getName(), b.getName()) &&
            a.getDataType() == b.getDataType() && a.getScopes() == b.getScopes() &&
            a.getFlavor() == b.getFlavor() && a.getDefaultValue() == b.getDefaultValue());
}

}  // namespace OpenWBEM
