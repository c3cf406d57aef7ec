// SPDX-License-Identifier: Apache-2.0
//
// The registration of one provider, built from a product's files, from the CIMOM or from a saved
// state, and immutable after that. The facility does the work; a registration only dispatches to
// the operation for its kind.
#pragma once

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMQualifierType.hpp"

namespace KOVNS2 {

using blocxx::Array;
using blocxx::String;
using blocxx::StringArray;

class ProviderRegistrationFacility;

class ProviderRegistration : public blocxx::IntrusiveCountableBase {
public:
    /// Calls the facility's operation for this kind of registration.
    virtual void registerProvider(ProviderRegistrationFacility* facility) const = 0;
    virtual void deRegisterProvider(ProviderRegistrationFacility* facility) const = 0;
    /// The class that the provider serves, a comma, and the path of its registration instance.
    virtual String listProviderInfo() const = 0;
};
using ProviderRegistrationRef = blocxx::IntrusiveReference<ProviderRegistration>;

/// What an OOP1ProviderRegistration is built from.
struct OOP1ProviderParts {
    /// The registration instance, then the instances that belong to it.
    Array<OpenWBEM::CIMInstance> registrationInstances;
    /// The namespace of the provider MOF's objects; empty when there are none.
    String providerMofNamespace;
    Array<OpenWBEM::CIMInstance> providerInstances;
    Array<OpenWBEM::CIMClass> providerClasses;
    Array<OpenWBEM::CIMQualifierType> providerQualifiers;
    /// The provider's own privilege file; empty when it has none.
    String providerPrivileges;
    /// The privilege text that lets the provider agent start the provider's process.
    String providerOOPPrivileges;
};

/// A provider that runs in a process of its own.
class OOP1ProviderRegistration : public ProviderRegistration {
public:
    /// Throws OutOfBoundsException when there is no registration instance.
    explicit OOP1ProviderRegistration(OOP1ProviderParts parts);

    void registerProvider(ProviderRegistrationFacility* facility) const override;
    void deRegisterProvider(ProviderRegistrationFacility* facility) const override;
    String listProviderInfo() const override;

    const Array<OpenWBEM::CIMInstance>& registrationInstances() const noexcept {
        return m_parts.registrationInstances;
    }
    const OpenWBEM::CIMInstance& registrationInstance() const noexcept {
        return m_parts.registrationInstances.front();
    }
    const String& providerMofNamespace() const noexcept { return m_parts.providerMofNamespace; }
    const Array<OpenWBEM::CIMInstance>& providerInstances() const noexcept {
        return m_parts.providerInstances;
    }
    const Array<OpenWBEM::CIMClass>& providerClasses() const noexcept {
        return m_parts.providerClasses;
    }
    const Array<OpenWBEM::CIMQualifierType>& providerQualifiers() const noexcept {
        return m_parts.providerQualifiers;
    }
    const String& providerPrivileges() const noexcept { return m_parts.providerPrivileges; }
    const String& providerOOPPrivileges() const noexcept { return m_parts.providerOOPPrivileges; }
    const String& registrationClassName() const noexcept { return m_registrationClassName; }
    /// The key of the registration instance.
    String instanceID() const;

    /// A copy with these qualifier types and provider instances.
    OOP1ProviderRegistration withCreatedObjects(Array<OpenWBEM::CIMQualifierType> qualifiers,
                                                Array<OpenWBEM::CIMInstance> instances) const;

private:
    OOP1ProviderParts m_parts;
    String m_registrationClassName;
};

}  // namespace KOVNS2
