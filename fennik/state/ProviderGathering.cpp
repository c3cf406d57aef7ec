// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Logger.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/state/StateFormat.hpp"
#include "fennik/state/StateGathering.hpp"
#include "fennik/state/StateLog.hpp"

namespace KOVNS2 {

using namespace StateFormat;

namespace {

UnitLog log() {
    return StateLog::log();
}

/// The class that the provider serves. A process serves those of its capabilities, and may have
/// none of its own.
String servedClass(const OOP1ProviderRegistration& registration) {
    const OpenWBEM::CIMValue name =
        registration.registrationInstances().at(0).getPropertyValue("ClassName");
    return name.isNull() ? String() : name.toString();
}

XMLNode createOOP1RegistrationNode(const OOP1ProviderRegistration& registration) {
    log().debug("createOOP1RegistrationNode() called");
    const String& ns = registration.providerMofNamespace();
    XMLNode node(OOP1_PROVIDER_REGISTRATION);
    node.addChild(createNamedNode(PROVIDER_MOF_NAMESPACE, ns));
    node.addChild(createNamedNode(PROVIDER_CLASSNAME, servedClass(registration)));
    node.addChild(createNamedNode(PROVIDER_PRIVILEGES, registration.providerPrivileges()));
    node.addChild(createNamedNode(PROVIDER_OOPI_PRIVILEGES, registration.providerOOPPrivileges()));
    node.addChild(
        createCIMObjectNameNode(PROVIDER_QUALIFIERS, registration.providerQualifiers(), NAME));
    node.addChild(createCIMObjectNameNode(PROVIDER_CLASSES, registration.providerClasses(), NAME));
    node.addChild(createInstanceMOFNode(REGISTRATION_INSTANCES,
                                        registration.registrationInstances(), INSTANCE_MOF));
    node.addChild(
        createCIMInstanceNameNode(PROVIDER_INSTANCES, ns, registration.providerInstances(), NAME));
    log().debug("createOOP1RegistrationNode() done");
    return node;
}

XMLNode createProviderRegistrationNode(const ProviderRegistration& registration) {
    const String info = registration.listProviderInfo();
    log().debug("gatherProviderRegistration() called for \"%1\"", info);
    if (const auto* oop1 = dynamic_cast<const OOP1ProviderRegistration*>(&registration)) {
        return createOOP1RegistrationNode(*oop1);
    }
    const String message =
        blocxx::Format("Bad provider type found while saving state: \"%1\"", info);
    blocxx::Logger("fennik").error(message, __FILE__, __LINE__);
    BLOCXX_THROW_ERR(FennikException, message, StateLog::INVALID_STATE);
}

}  // namespace

/// Privilege files are looked for in their places on this machine also when the repository is that
/// of a staged tree.
XMLNode gatherProviderRegistration(const OpenWBEM::CIMOMHandleIFCRef& handle,
                                   const String& productName) {
    log().debug("gatherProviderRegistration() called for \"%1\"", productName);
    XMLNode providers(REGISTERED_PROVIDERS);
    for (const auto& registration : GetCurrentProviderRegistrations(handle, productName, "")) {
        providers.addChild(createProviderRegistrationNode(*registration));
    }
    log().debug("gatherProviderRegistration() done for \"%1\"", productName);
    return providers;
}

}  // namespace KOVNS2
