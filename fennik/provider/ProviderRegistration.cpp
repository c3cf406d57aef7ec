// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/ProviderRegistration.hpp"

#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/provider/ProviderModel.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using OpenWBEM::CIMObjectPath;

OOP1ProviderRegistration::OOP1ProviderRegistration(OOP1ProviderParts parts)
    : m_parts(std::move(parts)) {
    if (m_parts.registrationInstances.empty()) {
        BLOCXX_THROW(blocxx::OutOfBoundsException, "index 0 of an array without elements");
    }
    m_registrationClassName = registrationInstance().getClassName();
}

void OOP1ProviderRegistration::registerProvider(ProviderRegistrationFacility* facility) const {
    facility->registerProvider(*this);
}

void OOP1ProviderRegistration::deRegisterProvider(ProviderRegistrationFacility* facility) const {
    facility->deRegisterProvider(*this);
}

String OOP1ProviderRegistration::listProviderInfo() const {
    return text(registrationInstance(), "ClassName") + "," +
           CIMObjectPath(INTEROP_NS, registrationInstance()).toString();
}

String OOP1ProviderRegistration::instanceID() const {
    return text(registrationInstance(), "InstanceID");
}

OOP1ProviderRegistration OOP1ProviderRegistration::withCreatedObjects(
    Array<OpenWBEM::CIMQualifierType> qualifiers, Array<OpenWBEM::CIMInstance> instances) const {
    OOP1ProviderParts parts = m_parts;
    parts.providerQualifiers = std::move(qualifiers);
    parts.providerInstances = std::move(instances);
    return OOP1ProviderRegistration(std::move(parts));
}

}  // namespace KOVNS2
