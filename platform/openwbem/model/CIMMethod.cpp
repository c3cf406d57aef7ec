// SPDX-License-Identifier: Apache-2.0
//
// Methods of classes: their shared representation and comparison.
#include "openwbem/model/CIMMethod.hpp"

#include "openwbem/model/ModelSupport.hpp"
#include "openwbem/model/QualifierDerivation.hpp"

namespace OpenWBEM {

using ModelSupport::emptyOf;

struct CIMMethod::Rep : CowRep<Rep> {
    String name;
    CIMDataType returnType;
    CIMParameterArray parameters;
    CIMQualifierArray qualifiers;
    String classOrigin;
    mutable Memo<CIMMethod> inherited;

    void forgetMemo() noexcept { inherited.value = CIMMethod(); }
};

OPENWBEM_DEFINE_SPECIAL_MEMBERS(CIMMethod)

CIMMethod::CIMMethod(String name, CIMDataType returnType) {
    Rep& rep = m_rep.write();
    rep.name = std::move(name);
    rep.returnType = std::move(returnType);
}

const String& CIMMethod::getName() const noexcept {
    return m_rep ? m_rep->name : emptyOf<String>();
}

const CIMDataType& CIMMethod::getReturnType() const noexcept {
    return m_rep ? m_rep->returnType : emptyOf<CIMDataType>();
}

const CIMParameterArray& CIMMethod::getParameters() const noexcept {
    return m_rep ? m_rep->parameters : emptyOf<CIMParameterArray>();
}

const CIMQualifierArray& CIMMethod::getQualifiers() const noexcept {
    return m_rep ? m_rep->qualifiers : emptyOf<CIMQualifierArray>();
}

const String& CIMMethod::getClassOrigin() const noexcept {
    return m_rep ? m_rep->classOrigin : emptyOf<String>();
}

CIMMethod& CIMMethod::setName(String name) {
    m_rep.write().name = std::move(name);
    return *this;
}

CIMMethod& CIMMethod::setReturnType(CIMDataType type) {
    m_rep.write().returnType = std::move(type);
    return *this;
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
            m_rep->inherited.value = result;
        }
        result.m_rep = m_rep->inherited.value.m_rep;
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
