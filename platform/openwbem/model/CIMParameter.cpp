// SPDX-License-Identifier: Apache-2.0
//
// Parameters of methods: their shared representation and comparison.
#include "openwbem/model/CIMParameter.hpp"

#include "openwbem/model/ModelSupport.hpp"

namespace OpenWBEM {

using ModelSupport::emptyOf;

struct CIMParameter::Rep : CowRep<Rep> {
    String name;
    CIMDataType type;
    CIMQualifierArray qualifiers;
};

OPENWBEM_DEFINE_SPECIAL_MEMBERS(CIMParameter)

CIMParameter::CIMParameter(String name, CIMDataType type) {
    Rep& rep = m_rep.write();
    rep.name = std::move(name);
    rep.type = std::move(type);
}

const String& CIMParameter::getName() const noexcept {
    return m_rep ? m_rep->name : emptyOf<String>();
}

const CIMDataType& CIMParameter::getDataType() const noexcept {
    return m_rep ? m_rep->type : emptyOf<CIMDataType>();
}

const CIMQualifierArray& CIMParameter::getQualifiers() const noexcept {
    return m_rep ? m_rep->qualifiers : emptyOf<CIMQualifierArray>();
}

CIMParameter& CIMParameter::setName(String name) {
    m_rep.write().name = std::move(name);
    return *this;
}

CIMParameter& CIMParameter::setDataType(CIMDataType type) {
    m_rep.write().type = std::move(type);
    return *this;
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
