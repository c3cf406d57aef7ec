// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/state/StateFormat.hpp"
#include "fennik/state/StateLog.hpp"
#include "fennik/state/StateRestoring.hpp"
#include "fennik/undo/FennikException.hpp"
#include "fennik/undo/TextUtils.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace KOVNS2 {

using namespace StateFormat;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMQualifierType;

namespace {

UnitLog log() {
    return StateLog::log();
}

String childText(const XMLNode& node, const char* name) {
    return node.mustFindChild(name).getText();
}

/// The names in one of the lists of what a provider's MOF created.
StringArray readNames(const XMLNode& node, const char* list, const char* message) {
    StringArray names;
    for (const String& name : extractChildInstanceArrays(node.mustFindChild(list), NAME)) {
        names.push_back(trimmed(name));
    }
    log().debug(message, untokenize(names, "\" \""));
    return names;
}

Array<CIMInstance> readRegistrationInstances(const XMLNode& node,
                                             const OpenWBEM::CIMOMHandleIFCRef& handle) {
    String mof;
    for (const String& text :
         extractChildInstanceArrays(node.mustFindChild(REGISTRATION_INSTANCES), INSTANCE_MOF)) {
        mof += trimmed(text);
    }
    log().debug("Have registration mof:\n%1", mof);
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    OpenWBEM::MOF::compileMOF(mof, handle, "root", instances, classes, qualifierTypes);
    return instances;
}

/// Classes, qualifier types and instances of the provider's MOF have only their names: they are in
/// their namespace already, and the record of the provider just lists them.
OOP1ProviderParts readParts(const XMLNode& node, const OpenWBEM::CIMOMHandleIFCRef& handle) {
    OOP1ProviderParts parts;
    parts.providerMofNamespace = trimmed(childText(node, PROVIDER_MOF_NAMESPACE));
    const String className = trimmed(childText(node, PROVIDER_CLASSNAME));
    parts.providerPrivileges = withoutLeadingSpace(childText(node, PROVIDER_PRIVILEGES));
    parts.providerOOPPrivileges = withoutLeadingSpace(childText(node, PROVIDER_OOPI_PRIVILEGES));
    log().debug("Have NS=%1", parts.providerMofNamespace);
    log().debug("Have classname=%1", className);
    log().debug("Have provPrivs=%1", parts.providerPrivileges);
    log().debug("Have provOOPIPrivs=%1", parts.providerOOPPrivileges);
    parts.providerQualifiers = createFakeCIMObjectArray<CIMQualifierType>(
        readNames(node, PROVIDER_QUALIFIERS, "Have qualifiers: \"%1\""));
    parts.providerInstances = createFakeInstanceArray(
        readNames(node, PROVIDER_INSTANCES, "Have provider instances: \"%1\""));
    parts.providerClasses = createFakeCIMObjectArray<CIMClass>(
        readNames(node, PROVIDER_CLASSES, "Have classes: \"%1\""));
    parts.registrationInstances = readRegistrationInstances(node, handle);
    return parts;
}

void installOOP1RegistrationFromNode(const XMLNode& node, const String& productName,
                                     const RestoreTarget& target) {
    log().debug("createOOP1RegistrationFromNode() called");
    checkNodeName(node, OOP1_PROVIDER_REGISTRATION, "Invalid OOP1 registration node: ");
    const OOP1ProviderRegistration registration(readParts(node, target.handle));
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
