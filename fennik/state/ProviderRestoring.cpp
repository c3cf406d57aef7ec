// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/FennikException.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/state/StateFormat.hpp"
#include "fennik/state/StateLog.hpp"
#include "fennik/state/StateReading.hpp"
#include "fennik/state/StateRestoring.hpp"

namespace KOVNS2 {

using namespace StateFormat;

namespace {

UnitLog log() {
    return StateLog::log();
}

void installOOP1RegistrationFromNode(const XMLNode& node, const String& productName,
                                     const RestoreTarget& target) {
    log().debug("createOOP1RegistrationFromNode() called");
    const OOP1ProviderRegistration registration =
        StateReading::providerRegistration(node, target.handle);
    ProviderRegistrationFacility facility(target.handle, productName, target.prefix, target.undo);
    String privilegeFilePath;
    facility.createPrivilegeFiles(registration, privilegeFilePath);
    facility.createRegistrationInstances(registration, privilegeFilePath);
    facility.createOOP1RegistrationInstances(registration);
    log().debug("createOOP1RegistrationFromNode() done");
}

void installRegistrationFromNode(const XMLNode& node, const String& productName,
                                 const RestoreTarget& target) {
    log().debug("createRegistrationFromNode() called");
    if (node.getName() != OOP1_PROVIDER_REGISTRATION) {
        BLOCXX_THROW_ERR(
            FennikException,
            blocxx::Format("Bad provider registration node type: \"%1\"", node.getName()),
            StateLog::INVALID_STATE);
    }
    installOOP1RegistrationFromNode(node, productName, target);
    log().debug("createRegistrationFromNode() done");
}

}  // namespace

void restoreProviderRegistration(const XMLNode& node, const String& productName,
                                 const RestoreTarget& target) {
    checkNodeName(node, REGISTERED_PROVIDERS, "Invalid provider registration node: ");
    for (const XMLNode& child : node.getChildren()) {
        installRegistrationFromNode(child, productName, target);
    }
}

}  // namespace KOVNS2
