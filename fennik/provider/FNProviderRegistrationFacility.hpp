// SPDX-License-Identifier: Apache-2.0
//
// The providers of a product: registered from a list, replaced, listed and removed. Every change is
// followed by its undo step on the caller's list, which the caller runs when an operation throws.
#pragma once

#include <optional>

#include "fennik/provider/ProviderDeregistration.hpp"
#include "fennik/provider/ProviderMof.hpp"

namespace KOVNS2 {

/// Replaces the product's providers by those of a list: a file, or standard input when `fileName`
/// is "-". The whole list is read and checked before anything changes. Throws FennikException, and
/// CIMException or IOException as they come while the list is read.
void RegisterProviders(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                       const String& fileName, const String& prefix, CleanupActions_t& undo);
/// Removes all providers of the product.
void DeregisterProviders(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                         const String& prefix, CleanupActions_t& undo);
/// One line for each provider, in the order in which the CIMOM delivers them.
StringArray ListProviders(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                          const String& prefix);
/// The registrations as the CIMOM and the privilege files hold them, in the same order.
Array<ProviderRegistrationRef> GetCurrentProviderRegistrations(
    const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName, const String& prefix);
/// Adds registrations to those that the product has.
void registerProviders(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                       const Array<ProviderRegistrationRef>& registrations, CleanupActions_t& undo,
                       const String& prefix);

/// The face of the steps of these operations, each of which has a source of its own. A facility
/// serves one command; its list and its handle must outlive it and the undo steps.
class ProviderRegistrationFacility {
public:
    /// Whether the provider has no privilege file of its own.
    enum EMonitoredFlag { E_MONITORED = 0, E_NOT_MONITORED = 1 };

    ProviderRegistrationFacility(const OpenWBEM::CIMOMHandleIFCRef& handle, String productName,
                                 String destDir, CleanupActions_t& cleanupActions);
    virtual ~ProviderRegistrationFacility();
    ProviderRegistrationFacility(const ProviderRegistrationFacility&) = delete;
    ProviderRegistrationFacility& operator=(const ProviderRegistrationFacility&) = delete;

    virtual void registerProvider(const OOP1ProviderRegistration& registration);
    virtual void deRegisterProvider(const OOP1ProviderRegistration& registration);

    // The steps of registering, in their order; ProviderSteps.hpp says what each does.
    /// Leaves `privilegeFilePath` as it is when the registration has no privilege text.
    virtual void createPrivilegeFiles(const OOP1ProviderRegistration& registration,
                                      String& privilegeFilePath);
    virtual void createRegistrationInstances(const OOP1ProviderRegistration& registration,
                                             const String& privilegeFilePath);
    virtual OOP1ProviderRegistration handleProviderMOFInstances(
        const OOP1ProviderRegistration& registration);
    virtual void createOOP1RegistrationInstances(const OOP1ProviderRegistration& registration);

    /// Builds the registrations of a list; changes nothing. Throws for the first bad entry.
    virtual Array<ProviderRegistrationRef> parseInputData(const String& list);
    /// Messages name path1 for the registration MOF, path2 for the provider MOF and path3 for the
    /// privileges. An empty `oopPrivileges` is generated.
    virtual ProviderRegistrationRef createOOP1ProviderRegistrationFromString(
        const String& regMof, const String& providerMof, const String& privileges,
        const String& oopPrivileges, const String& path1, const String& path2, const String& path3);
    /// The paths as a list has them; an empty one for the privilege file means that there is none.
    virtual ProviderRegistrationRef createOOP1ProviderRegistration(const String& regMofPath,
                                                                   const String& providerMofPath,
                                                                   const String& privilegeFilePath);

    virtual void executeCleanupActions();

    virtual Array<ProviderRegistrationRef> getCurrentProviderRegistrations();
    virtual void validateOOP1ProviderRegistration(const OpenWBEM::CIMInstance& instance,
                                                  EMonitoredFlag monitored);
    virtual StringArray getRegisteredNamespaces();
    /// `provider` is the product's KOV_OOP1Provider instance.
    virtual ProviderRegistrationRef getOOP1ProviderRegistrationData(
        const OpenWBEM::CIMInstance& provider);

    /// Removes every current provider, then adds those of the list.
    void registerProviders(const String& list);

    RegistrationMof buildInstancesForOOPRegistration(const String& mof, const String& path,
                                                     EMonitoredFlag monitored);
    ProviderMof buildInstancesForOOPProvider(const String& mof, const String& path);
    void verifyPrivilegesContent(const String& privileges, const String& path);

private:
    const ProviderTarget m_target;
    ProviderDeregistration m_deregistration;
    std::optional<StringArray> m_namespaces;  ///< once they are known
};

}  // namespace KOVNS2
