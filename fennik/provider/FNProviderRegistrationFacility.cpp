// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/FNProviderRegistrationFacility.hpp"

#include "blocxx/FileSystem.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/FileUtils.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderModel.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using blocxx::Format;
using OpenWBEM::CIMOMHandleIFCRef;

namespace {

constexpr int LIST_MISSING = 24;

/// Unlike the files that a list names, the list itself is not looked for below the prefix.
String readList(const String& fileName) {
    if (fileName == "-") {
        return FileUtils::readStandardInput();
    }
    if (!blocxx::FileSystem::exists(fileName)) {
        BLOCXX_THROW_ERR(FennikException, "The specified path " + fileName + " : does not exist.",
                         LIST_MISSING);
    }
    return blocxx::FileSystem::getFileContents(fileName, blocxx::FileSystem::NamedBy::CALLER);
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
    log().debug("Done registering %1 providers for \"%2\"", registrations.size(), productName);
}

ProviderRegistrationFacility::ProviderRegistrationFacility(const CIMOMHandleIFCRef& handle,
                                                           String productName, String destDir,
                                                           CleanupActions_t& cleanupActions)
    : m_handle(handle),
      m_productName(std::move(productName)),
      m_destDir(std::move(destDir)),
      m_cleanupActions(cleanupActions) {}

ProviderRegistrationFacility::~ProviderRegistrationFacility() = default;

void ProviderRegistrationFacility::executeCleanupActions() {
    KOVNS2::executeCleanupActions(m_cleanupActions);
}

// Replacing is removing all and adding all: a provider that stays is made afresh. What the list
// says is known to be right before the first change.
void ProviderRegistrationFacility::registerProviders(const String& list) {
    const Array<ProviderRegistrationRef> added = parseInputData(list);
    try {
        const Array<ProviderRegistrationRef> current = getCurrentProviderRegistrations();
        for (const auto& registration : current) {
            registration->deRegisterProvider(this);
        }
        removeWhatWasPutOff();
        for (const auto& registration : added) {
            registration->registerProvider(this);
        }
        if (!current.empty() || !added.empty()) {
            PrivilegeFiles::syncNames(m_destDir);
        }
    } catch (const FennikException&) {
        throw;
    } catch (const blocxx::Exception& e) {
        const String message =
            Format("Provider %1 failed: %2", list.empty() ? "deregistration" : "registration", e);
        throw FennikException(__FILE__, __LINE__, message.c_str(), INVALID_INPUT, &e);
    }
}

}  // namespace KOVNS2
