// SPDX-License-Identifier: Apache-2.0
//
// Qualifier declarations: their shared representation and comparison.
#include "openwbem/model/CIMQualifierType.hpp"

#include "openwbem/model/ModelSupport.hpp"

namespace OpenWBEM {

using ModelSupport::emptyOf;

struct CIMQualifierType::Rep : CowRep<Rep> {
    String name;
    CIMDataType type;
    CIMValue defaultValue;
    uint8_t scopes = 0;
    CIMFlavor flavor;
};

OPENWBEM_DEFINE_SPECIAL_MEMBERS(CIMQualifierType)

CIMQualifierType::CIMQualifierType(String name) {
    m_rep.write().name = std::move(name);
}

const String& CIMQualifierType::getName() const noexcept {
    return m_rep ? m_rep->name : emptyOf<String>();
}

const CIMDataType& CIMQualifierType::getDataType() const noexcept {
    return m_rep ? m_rep->type : emptyOf<CIMDataType>();
}

const CIMValue& CIMQualifierType::getDefaultValue() const noexcept {
    return m_rep ? m_rep->defaultValue : emptyOf<CIMValue>();
}

uint8_t CIMQualifierType::getScopes() const noexcept {
    return m_rep ? m_rep->scopes : 0;
}

const CIMFlavor& CIMQualifierType::getFlavor() const noexcept {
    return m_rep ? m_rep->flavor : emptyOf<CIMFlavor>();
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
