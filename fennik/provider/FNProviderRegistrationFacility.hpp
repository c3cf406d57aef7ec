// SPDX-License-Identifier: Apache-2.0
//
// Registers, replaces, lists and removes the providers of a product. Each change pushes its undo
// step on the caller's list; the caller runs the list when an operation throws.
#pragma once

#include <optional>

#include "fennik/provider/CurrentProviders.hpp"
#include "fennik/provider/PrivilegeVerification.hpp"
#include "fennik/provider/ProviderDeregistration.hpp"
#include "fennik/provider/ProviderMof.hpp"
#include "fennik/provider/ProviderSteps.hpp"

namespace KOVNS2 {

/// Replaces the product's providers by those of the list in the file `fileName`, or on standard
/// input when it is "-". Reads and checks the whole list before the first change. Throws
/// FennikException; while the list is read, also CIMException and IOException.
void RegisterProviders(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                       const String& fileName, const String& prefix, CleanupActions_t& undo);
/// Removes all providers of the product.
void DeregisterProviders(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                         const String& prefix, CleanupActions_t& undo);
/// One line per provider, in the CIMOM's order.
StringArray ListProviders(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                          const String& prefix);
/// The registrations, read from the CIMOM and the privilege files, in the same order.
Array<ProviderRegistrationRef> GetCurrentProviderRegistrations(
    const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName, const String& prefix);
/// Registers further providers; the product keeps those that it has.
void registerProviders(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                       const Array<ProviderRegistrationRef>& registrations, CleanupActions_t& undo,
                       const String& prefix);

/// The steps of these operations; each is implemented in a source of its own. A facility serves one
/// command. The undo list must outlive it, the handle must outlive the undo steps.
class ProviderRegistrationFacility {
public:
    /// Whether the provider has a privilege file of its own (E_MONITORED).
    enum EMonitoredFlag { E_MONITORED = 0, E_NOT_MONITORED = 1 };

    ProviderRegistrationFacility(const OpenWBEM::CIMOMHandleIFCRef& handle, String productName,
                                 String destDir, CleanupActions_t& cleanupActions);
    virtual ~ProviderRegistrationFacility() = default;
    ProviderRegistrationFacility(const ProviderRegistrationFacility&) = delete;
    ProviderRegistrationFacility& operator=(const ProviderRegistrationFacility&) = delete;

    virtual void registerProvider(const OOP1ProviderRegistration& registration);
    virtual void deRegisterProvider(const OOP1ProviderRegistration& registration) {
        m_deregistration.remove(registration);
    }

    // The steps of registering, in order. See ProviderSteps.hpp.
    /// Leaves `privilegeFilePath` as it is when the registration has no privilege text.
    void createPrivilegeFiles(const OOP1ProviderRegistration& registration,
                              String& privilegeFilePath);
    void createRegistrationInstances(const OOP1ProviderRegistration& registration,
                                     const String& privilegeFilePath) {
        ProviderSteps::createRegistrationInstances(m_target, registration, privilegeFilePath);
    }
    OOP1ProviderRegistration handleProviderMOFInstances(
        const OOP1ProviderRegistration& registration) {
        return ProviderSteps::createProviderObjects(m_target, registration);
    }
    void createOOP1RegistrationInstances(const OOP1ProviderRegistration& registration) {
        ProviderSteps::createRecord(m_target, registration);
    }

    /// Builds the registrations of the list with the text `list`. Changes nothing. Throws for the
    /// first bad entry.
    Array<ProviderRegistrationRef> parseInputData(const String& list);
    /// Messages about the registration MOF name path1, about the provider MOF path2 and about the
    /// privileges path3. An empty `oopPrivileges` is generated.
    virtual ProviderRegistrationRef createOOP1ProviderRegistrationFromString(
        const String& regMof, const String& providerMof, const String& privileges,
        const String& oopPrivileges, const String& path1, const String& path2, const String& path3);
    /// The paths are those of a list entry. An empty `privilegeFilePath`: no privilege file.
    virtual ProviderRegistrationRef createOOP1ProviderRegistration(const String& regMofPath,
                                                                   const String& providerMofPath,
                                                                   const String& privilegeFilePath);

    void executeCleanupActions() { KOVNS2::executeCleanupActions(m_target.undo); }

    virtual Array<ProviderRegistrationRef> getCurrentProviderRegistrations();
    virtual void validateOOP1ProviderRegistration(const OpenWBEM::CIMInstance& instance,
                                                  EMonitoredFlag monitored);
    StringArray getRegisteredNamespaces();
    /// `provider` is the product's KOV_OOP1Provider instance.
    ProviderRegistrationRef getOOP1ProviderRegistrationData(const OpenWBEM::CIMInstance& provider) {
        return CurrentProviders::registrationOf(m_target, provider);
    }

    /// Removes every current provider, then adds those of the list.
    void registerProviders(const String& list);

    RegistrationMof buildInstancesForOOPRegistration(const String& mof, const String& path,
                                                     EMonitoredFlag monitored);
    ProviderMof buildInstancesForOOPProvider(const String& mof, const String& path) {
        return compileProviderMof(m_target.handle, mof, path,
                                  [this] { return getRegisteredNamespaces(); });
    }
    void verifyPrivilegesContent(const String& privileges, const String& path) {
        verifyPrivileges(privileges, path, m_target.destDir);
    }

private:
    const ProviderTarget m_target;
    ProviderDeregistration m_deregistration;
    std::optional<StringArray> m_namespaces;  ///< cache of getRegisteredNamespaces()
};

}  // namespace KOVNS2
