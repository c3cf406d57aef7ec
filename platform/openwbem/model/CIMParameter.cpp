// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMParameter.hpp"

#include "openwbem/model/ModelSupport.hpp"

namespace OpenWBEM {

CIMParameter::CIMParameter(String name, CIMDataType type) {
    Rep& rep = m_rep.write();
    rep.name = std::move(name);
    rep.type = std::move(type);
}

CIMParameter& CIMParameter::setQualifiers(CIMQualifierArray qualifiers) {
    m_rep.write().qualifiers = std::move(qualifiers);
    return *this;
}

bool operator==(const CIMParameter& a, const CIMParameter& b) {
    return a.m_rep.get() == b.m_rep.get() ||
           (blocxx::equalsIgnoreCase(a.getName(), b.getName()) &&
            a.getDataType() == b.getDataType() &&
            ModelSupport::equalInAnyOrder(a.getQualifiers(), b.getQualifiers()));
}

}  // namespace OpenWBEM
