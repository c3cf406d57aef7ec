// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMMethod.hpp"

#include "openwbem/model/ModelSupport.hpp"
#include "openwbem/model/QualifierDerivation.hpp"

namespace OpenWBEM {

CIMMethod::CIMMethod(String name, CIMDataType returnType) {
    Rep& rep = m_rep.write();
    rep.name = std::move(name);
    rep.returnType = std::move(returnType);
}

CIMMethod& CIMMethod::setParameters(CIMParameterArray parameters) {
    m_rep.write().parameters = std::move(parameters);
    return *this;
}

CIMMethod& CIMMethod::setQualifiers(CIMQualifierArray qualifiers) {
    m_rep.write().qualifiers = std::move(qualifiers);
    return *this;
}

CIMMethod& CIMMethod::setClassOrigin(String className) {
    m_rep.write().classOrigin = std::move(className);
    return *this;
}

CIMMethod CIMMethod::inherited() const {
    CIMMethod result = *this;
    if (m_rep && !m_propagated) {
        if (!m_rep->inherited.value) {
            result.setQualifiers(inheritableQualifiers(m_rep->qualifiers));
            CIMParameterArray parameters = m_rep->parameters;
            for (CIMParameter& parameter : parameters) {
                parameter.setQualifiers(inheritableQualifiers(parameter.getQualifiers()));
            }
            result.setParameters(std::move(parameters));
            m_rep->inherited.value = result.m_rep;
        }
        result.m_rep = m_rep->inherited.value;
    }
    return result.setPropagated(true);
}

bool operator==(const CIMMethod& a, const CIMMethod& b) {
    return a.m_rep.get() == b.m_rep.get() ||
           (blocxx::equalsIgnoreCase(a.getName(), b.getName()) &&
            a.getReturnType() == b.getReturnType() && a.getParameters() == b.getParameters() &&
            ModelSupport::equalInAnyOrder(a.getQualifiers(), b.getQualifiers()));
}

}  // namespace OpenWBEM
