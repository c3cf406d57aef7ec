// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMProperty.hpp"

#include "openwbem/model/ModelSupport.hpp"
#include "openwbem/model/QualifierDerivation.hpp"

namespace OpenWBEM {

CIMProperty::CIMProperty(String name, CIMDataType type, CIMValue value) {
    Rep& rep = m_rep.write();
    rep.name = std::move(name);
    rep.type = std::move(type);
    rep.value = std::move(value);
}

CIMProperty& CIMProperty::setName(String name) {
    m_rep.write().name = std::move(name);
    return *this;
}

CIMProperty& CIMProperty::setDataType(CIMDataType type) {
    m_rep.write().type = std::move(type);
    return *this;
}

CIMProperty& CIMProperty::setValue(CIMValue value) {
    m_rep.write().value = std::move(value);
    return *this;
}

CIMProperty& CIMProperty::setQualifiers(CIMQualifierArray qualifiers) {
    m_rep.write().qualifiers = std::move(qualifiers);
    return *this;
}

CIMProperty& CIMProperty::setClassOrigin(String className) {
    m_rep.write().classOrigin = std::move(className);
    return *this;
}

CIMProperty CIMProperty::inherited() const {
    CIMProperty result = *this;
    if (m_rep && !areInherited(m_rep->qualifiers)) {
        if (!m_rep->inherited.value) {
            result.setQualifiers(inheritableQualifiers(m_rep->qualifiers));
            m_rep->inherited.value = result.m_rep;
        }
        result.m_rep = m_rep->inherited.value;
    }
    return result.setPropagated(true);
}

CIMProperty CIMProperty::asInstanceProperty() const {
    CIMProperty result = *this;
    if (m_rep && !m_rep->qualifiers.empty()) {
        if (!m_rep->asInstanceProperty.value) {
            m_rep->asInstanceProperty.value = result.setQualifiers({}).m_rep;
        }
        result.m_rep = m_rep->asInstanceProperty.value;
    }
    return result;
}

bool operator==(const CIMProperty& a, const CIMProperty& b) {
    return a.m_rep.get() == b.m_rep.get() ||
           (blocxx::equalsIgnoreCase(a.getName(), b.getName()) &&
            a.getDataType() == b.getDataType() && a.getValue() == b.getValue() &&
            ModelSupport::equalInAnyOrder(a.getQualifiers(), b.getQualifiers()));
}

}  // namespace OpenWBEM
