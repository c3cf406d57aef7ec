// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/FNProviderRegistrationFacility.hpp"

#include <map>

#include "blocxx/FileSystem.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderList.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderValidation.hpp"
#include "fennik/provider/StartPrivileges.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using blocxx::Format;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMOMHandleIFCRef;

namespace {

/// The list's own path has no prefix, unlike the paths of the files that it names.
String readList(const String& fileName) {
    if (fileName == "-") {
        return blocxx::FileSystem::readStandardInput();
    }
    if (!blocxx::FileSystem::exists(fileName)) {
        throw FennikException("The specified path " + fileName + " : does not exist.",
                              ErrorCode::PROVIDER_LIST_MISSING);
    }
    return blocxx::FileSystem::getFileContents(fileName, blocxx::FileSystem::NamedBy::CALLER);
}

/// White space at the ends of a field belongs to the path, and cannot be seen in a list.
bool isPadded(const String& field) {
    constexpr std::string_view WHITE_SPACE = " \t\r";
    return WHITE_SPACE.find(field.front()) != std::string_view::npos ||
           WHITE_SPACE.find(field.back()) != std::string_view::npos;
}

String load(const char* what, const String& prefix, const String& field) {
    const String path = prefix + "/" + field;
    log().debug("Loading %1 from %2", what, path);
    try {
        return blocxx::FileSystem::getFileContents(path);
    } catch (const blocxx::FileSystemException& e) {
        if (!isPadded(field)) {
            throw;
        }
        throw blocxx::FileSystemException(
            e.getFile(), e.getLine(),
            Format("%1; the provider list has white space at the beginning or the end of this "
                   "path, or lines that end with a carriage return: remove it",
                   e.getMessage())
                .c_str(),
            e.getErrorCode());
    }
}

/// Two providers of a list must not have the same file name. Checked before the first change.
void requireDistinctNames(const Array<ProviderRegistrationRef>& registrations) {
    std::map<String, String> ids;
    for (const auto& registration : registrations) {
        const auto oop1 = registration.castTo<OOP1ProviderRegistration>();
        const String id = oop1->instanceID();
        const auto [found, isNew] =
            ids.emplace(PrivilegeFiles::fileName(oop1->registrationInstance()), id);
        if (isNew) {
            continue;
        }
        throw FennikException(
            found->second == id
                ? Format("The provider list has \"%1\" twice; name each provider once", id)
                : Format("The provider list has \"%1\" and \"%2\", whose privilege files would "
                         "both be named \"%3\"; give one of them another InstanceID",
                         found->second, id, found->first),
            INVALID_INPUT);
    }
}

}  // namespace

void RegisterProviders(const CIMOMHandleIFCRef& handle, const String& productName,
                       const String& fileName, const String& prefix, CleanupActions_t& undo) {
    log().debug("Registering providers for \"%1\" from file \"%2\"", productName, fileName);
    const String list = readList(fileName);
    log().debug("Provider file contents:\n%1", list);
    ProviderRegistrationFacility(handle, productName, prefix, undo).registerProviders(list);
}

void DeregisterProviders(const CIMOMHandleIFCRef& handle, const String& productName,
                         const String& prefix, CleanupActions_t& undo) {
    log().debug("Deregistering providers for \"%1\"", productName);
    ProviderRegistrationFacility(handle, productName, prefix, undo).registerProviders(String());
}

Array<ProviderRegistrationRef> GetCurrentProviderRegistrations(const CIMOMHandleIFCRef& handle,
                                                               const String& productName,
                                                               const String& prefix) {
    log().debug("Getting current provider registrations for \"%1\"", productName);
    CleanupActions_t nothing;
    auto registrations = ProviderRegistrationFacility(handle, productName, prefix, nothing)
                             .getCurrentProviderRegistrations();
    log().debug("Found %1 current provider registrations for \"%2\"", registrations.size(),
                productName);
    return registrations;
}

StringArray ListProviders(const CIMOMHandleIFCRef& handle, const String& productName,
                          const String& prefix) {
    log().debug("Listing providers for \"%1\"", productName);
    StringArray lines;
    for (const auto& registration : GetCurrentProviderRegistrations(handle, productName, prefix)) {
        lines.push_back(registration->listProviderInfo());
    }
    return lines;
}

void registerProviders(const CIMOMHandleIFCRef& handle, const String& productName,
                       const Array<ProviderRegistrationRef>& registrations, CleanupActions_t& undo,
                       const String& prefix) {
    log().debug("Registering %1 providers for \"%2\"", registrations.size(), productName);
    ProviderRegistrationFacility facility(handle, productName, prefix, undo);
    for (const auto& registration : registrations) {
        registration->registerProvider(&facility);
    }
    if (!registrations.empty()) {
        PrivilegeFiles::syncNames(prefix);
    }
    log().debug("Done registering %1 providers for \"%2\"", registrations.size(), productName);
}

ProviderRegistrationFacility::ProviderRegistrationFacility(const CIMOMHandleIFCRef& handle,
                                                           String productName, String destDir,
                                                           CleanupActions_t& cleanupActions)
    : m_target{handle, std::move(productName), std::move(destDir), cleanupActions},
      m_deregistration(m_target) {}

void ProviderRegistrationFacility::registerProvider(const OOP1ProviderRegistration& registration) {
    String privilegeFilePath;
    createPrivilegeFiles(registration, privilegeFilePath);
    createRegistrationInstances(registration, privilegeFilePath);
    createOOP1RegistrationInstances(handleProviderMOFInstances(registration));
}

void ProviderRegistrationFacility::createPrivilegeFiles(
    const OOP1ProviderRegistration& registration, String& privilegeFilePath) {
    const String path = ProviderSteps::writePrivilegeFiles(m_target, registration);
    if (!path.empty()) {
        privilegeFilePath = path;
    }
}

Array<ProviderRegistrationRef> ProviderRegistrationFacility::parseInputData(const String& list) {
    log().debug("Parsing input data...");
    Array<ProviderRegistrationRef> registrations;
    for (const String& line : blocxx::tokenize(list, "\n")) {
        log().debug("Parsing line %1", line);
        const ProviderList::Entry entry = ProviderList::parseEntry(line);
        registrations.push_back(createOOP1ProviderRegistration(
            entry.registrationMof, entry.providerMof, entry.privileges));
    }
    return registrations;
}

ProviderRegistrationRef ProviderRegistrationFacility::createOOP1ProviderRegistration(
    const String& regMofPath, const String& providerMofPath, const String& privilegeFilePath) {
    log().debug(
        "Creating oop registration.  Reg mof path=\"%1\"  provider mof=\"%2\"  privilege "
        "file=\"%3\"",
        regMofPath, providerMofPath, privilegeFilePath);
    const String regMofFile = m_target.destDir + "/" + regMofPath;
    const String providerMofFile = m_target.destDir + "/" + providerMofPath;
    const String privilegeFile = m_target.destDir + "/" + privilegeFilePath;

    const String& prefix = m_target.destDir;
    const String regMof = load("registration mof", prefix, regMofPath);
    const String providerMof = load("provider mof", prefix, providerMofPath);
    const String privileges =
        privilegeFilePath.empty() ? String() : load("privileges", prefix, privilegeFilePath);
    return createOOP1ProviderRegistrationFromString(regMof, providerMof, privileges, String(),
                                                    regMofFile, privilegeFile, providerMofFile);
}

// For a list entry, path2 is the privilege file and path3 the provider MOF, so messages about one
// name the other. Kept: administrators know the messages like that.
ProviderRegistrationRef ProviderRegistrationFacility::createOOP1ProviderRegistrationFromString(
    const String& regMof, const String& providerMof, const String& privileges,
    const String& oopPrivileges, const String& path1, const String& path2, const String& path3) {
    const bool monitored = !privileges.empty();
    RegistrationMof registration =
        buildInstancesForOOPRegistration(regMof, path1, monitored ? E_MONITORED : E_NOT_MONITORED);
    ProviderMof provider = buildInstancesForOOPProvider(providerMof, path2);
    verifyPrivilegesContent(privileges, path3);
    String startPrivileges =
        oopPrivileges.empty()
            ? StartPrivileges::generate(registration.registrationInstance, monitored)
            : oopPrivileges;
    return new OOP1ProviderRegistration(
        {std::move(registration.instances), std::move(provider.nameSpace),
         std::move(provider.instances), std::move(provider.classes),
         std::move(provider.qualifierTypes), privileges, std::move(startPrivileges)});
}

Array<ProviderRegistrationRef> ProviderRegistrationFacility::getCurrentProviderRegistrations() {
    Array<ProviderRegistrationRef> registrations;
    for (const CIMInstance& provider : CurrentProviders::records(m_target)) {
        registrations.push_back(getOOP1ProviderRegistrationData(provider));
    }
    return registrations;
}

void ProviderRegistrationFacility::validateOOP1ProviderRegistration(const CIMInstance& instance,
                                                                    EMonitoredFlag monitored) {
    validateRegistrationInstance(
        instance, {.productName = m_target.productName,
                   .isMonitored = monitored == E_MONITORED,
                   .programMustExist = m_target.destDir.empty(),
                   .registeredNamespaces = [this] { return getRegisteredNamespaces(); }});
}

StringArray ProviderRegistrationFacility::getRegisteredNamespaces() {
    // Cached: called for each provider, and no command that uses this changes the namespaces.
    if (!m_namespaces) {
        m_namespaces = listNamespaces(m_target.handle, m_target.productName);
    }
    return *m_namespaces;
}

RegistrationMof ProviderRegistrationFacility::buildInstancesForOOPRegistration(
    const String& mof, const String& path, EMonitoredFlag monitored) {
    RegistrationMof registration = compileRegistrationMof(m_target.handle, mof, path);
    validateOOP1ProviderRegistration(registration.registrationInstance, monitored);
    checkInstancesOfRegistration(registration.instances, path);
    return registration;
}

// Removes all providers, then adds those of the list, so a provider that stays is created anew. The
// list has been checked before the first change.
void ProviderRegistrationFacility::registerProviders(const String& list) {
    const Array<ProviderRegistrationRef> added = parseInputData(list);
    requireDistinctNames(added);
    try {
        const Array<ProviderRegistrationRef> current = getCurrentProviderRegistrations();
        for (const auto& registration : current) {
            registration->deRegisterProvider(this);
        }
        m_deregistration.finish();
        for (const auto& registration : added) {
            registration->registerProvider(this);
        }
        if (!current.empty() || !added.empty()) {
            PrivilegeFiles::syncNames(m_target.destDir);
        }
    } catch (const FennikException&) {
        throw;
    } catch (const blocxx::Exception& e) {
        throw FennikException(
            Format("Provider %1 failed: %2", list.empty() ? "deregistration" : "registration", e),
            INVALID_INPUT, &e);
    }
}

}  // namespace KOVNS2
