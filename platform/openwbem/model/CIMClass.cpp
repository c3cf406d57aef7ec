// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMClass.hpp"

#include <algorithm>

#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/ModelSupport.hpp"
#include "openwbem/model/ObjectFilter.hpp"

namespace OpenWBEM {

namespace {

/// A class as declared does not mark its keys; it only has the qualifier.
bool isKeyOfClass(const CIMProperty& property) noexcept {
    return property.isKey() || hasTrueQualifier(property.getQualifiers(), "Key");
}

}  // namespace

CIMClass::CIMClass(String name, String superClass) {
    Rep& rep = m_rep.write();
    rep.name = std::move(name);
    rep.superClass = std::move(superClass);
}

CIMClass& CIMClass::setName(String name) {
    m_rep.write().name = std::move(name);
    return *this;
}

CIMClass& CIMClass::setSuperClass(String name) {
    m_rep.write().superClass = std::move(name);
    return *this;
}

CIMClass& CIMClass::setQualifiers(CIMQualifierArray qualifiers) {
    m_rep.write().qualifiers = std::move(qualifiers);
    return *this;
}

CIMClass& CIMClass::setProperties(CIMPropertyArray properties) {
    m_rep.write().properties = std::move(properties);
    return *this;
}

CIMClass& CIMClass::setMethods(CIMMethodArray methods) {
    m_rep.write().methods = std::move(methods);
    return *this;
}

const CIMProperty* CIMClass::getProperty(std::string_view name) const noexcept {
    return ModelSupport::findNamed(getProperties(), name);
}

const CIMMethod* CIMClass::getMethod(std::string_view name) const noexcept {
    return ModelSupport::findNamed(getMethods(), name);
}

bool CIMClass::hasKeys() const noexcept {
    const CIMPropertyArray& properties = getProperties();
    return std::any_of(properties.begin(), properties.end(), isKeyOfClass);
}

CIMPropertyArray CIMClass::getKeys() const {
    CIMPropertyArray keys;
    for (const CIMProperty& property : getProperties()) {
        if (isKeyOfClass(property)) {
            keys.push_back(property);
            keys.back().setKey(true);
        }
    }
    return keys;
}

CIMInstance CIMClass::newInstance() const {
    CIMPropertyArray properties;
    properties.reserve(getProperties().size());
    for (const CIMProperty& property : getProperties()) {
        properties.push_back(ModelSupport::withoutQualifiers(property));
        properties.back().setKey(isKeyOfClass(property));
    }
    return CIMInstance(getName()).setProperties(std::move(properties));
}

CIMClass CIMClass::filter(const ModelSupport::ObjectFilter& cut) const {
    if (!m_rep || cut.keepsAll()) {
        return *this;
    }
    CIMClass result(getName(), getSuperClass());
    Rep& rep = result.m_rep.write();
    rep.qualifiers = cut.qualifiers(getQualifiers());
    rep.properties = cut.properties(getProperties());
    rep.methods = cut.methods(getMethods());
    return result;
}

void CIMClass::recordDerivedFrom(const CIMClass* superClass) {
    m_rep.write().derivedFrom.value = Rep::idOf(superClass);
}

bool CIMClass::isKnownDerivedFrom(const CIMClass* superClass) const noexcept {
    return m_rep && m_rep->derivedFrom.value != 0 &&
           m_rep->derivedFrom.value == Rep::idOf(superClass);
}

bool operator==(const CIMClass& a, const CIMClass& b) {
    return a.m_rep.get() == b.m_rep.get() ||
           (blocxx::equalsIgnoreCase(a.getName(), b.getName()) &&
            blocxx::equalsIgnoreCase(a.getSuperClass(), b.getSuperClass()) &&
            ModelSupport::equalInAnyOrder(a.getQualifiers(), b.getQualifiers()) &&
            ModelSupport::equalInAnyOrder(a.getProperties(), b.getProperties()) &&
            ModelSupport::equalInAnyOrder(a.getMethods(), b.getMethods()));
}

}  // namespace OpenWBEM
