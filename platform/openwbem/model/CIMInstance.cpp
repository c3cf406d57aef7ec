// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMInstance.hpp"

#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/model/ModelSupport.hpp"
#include "openwbem/model/ObjectFilter.hpp"

namespace OpenWBEM {

CIMInstance::CIMInstance(String className) {
    m_rep.write().className = std::move(className);
}

CIMInstance& CIMInstance::setClassName(String className) {
    m_rep.write().className = std::move(className);
    return *this;
}

CIMInstance& CIMInstance::setProperties(CIMPropertyArray properties) {
    m_rep.write().properties = std::move(properties);
    return *this;
}

CIMInstance& CIMInstance::setQualifiers(CIMQualifierArray qualifiers) {
    m_rep.write().qualifiers = std::move(qualifiers);
    return *this;
}

const CIMProperty* CIMInstance::getProperty(std::string_view name) const noexcept {
    return ModelSupport::findNamed(getProperties(), name);
}

CIMValue CIMInstance::getPropertyValue(std::string_view name) const {
    const CIMProperty* property = getProperty(name);
    return property != nullptr ? property->getValue() : CIMValue();
}

CIMInstance& CIMInstance::setProperty(CIMProperty property) {
    const CIMProperty* old = getProperty(property.getName());
    if (old == nullptr) {
        m_rep.write().properties.push_back(std::move(property));
    } else {
        const auto index = static_cast<size_t>(old - getProperties().data());
        m_rep.write().properties[index] = std::move(property);
    }
    return *this;
}

CIMInstance& CIMInstance::setProperty(std::string_view name, CIMValue value) {
    const CIMProperty* old = getProperty(name);
    if (old == nullptr) {
        m_rep.write().properties.emplace_back(String(name), ModelSupport::typeOf(value),
                                              std::move(value));
        return *this;
    }
    if (!canHold(old->getDataType(), value)) {
        OPENWBEM_THROW_CIM(TYPE_MISMATCH, "Property " + old->getName() + " of " + getClassName() +
                                              " is " + ModelSupport::describe(old->getDataType()) +
                                              ", not " +
                                              ModelSupport::describe(ModelSupport::typeOf(value)));
    }
    const auto index = static_cast<size_t>(old - getProperties().data());
    m_rep.write().properties[index].setValue(std::move(value));
    return *this;
}

CIMInstance& CIMInstance::setPath(CIMObjectPath path) {
    m_rep.write().path = std::move(path);
    return *this;
}

CIMPropertyArray CIMInstance::getKeys() const {
    CIMPropertyArray keys;
    std::copy_if(getProperties().begin(), getProperties().end(), std::back_inserter(keys),
                 [](const CIMProperty& property) { return property.isKey(); });
    return keys;
}

CIMInstance CIMInstance::filter(const ModelSupport::ObjectFilter& cut) const {
    if (!m_rep || cut.keepsAll()) {
        return *this;
    }
    CIMInstance result(getClassName());
    Rep& rep = result.m_rep.write();
    rep.qualifiers = cut.qualifiers(getQualifiers());
    rep.properties = cut.properties(getProperties());
    rep.path = getPath();
    return result;
}

bool operator==(const CIMInstance& a, const CIMInstance& b) {
    return a.m_rep.get() == b.m_rep.get() ||
           (blocxx::equalsIgnoreCase(a.getClassName(), b.getClassName()) &&
            ModelSupport::equalInAnyOrder(a.getProperties(), b.getProperties()) &&
            ModelSupport::equalInAnyOrder(a.getQualifiers(), b.getQualifiers()));
}

}  // namespace OpenWBEM
