// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateReading.hpp"

#include <utility>

#include "fennik/common/TextUtils.hpp"
#include "fennik/mofrepair/FNHacks.hpp"
#include "fennik/namespace/NamespaceModel.hpp"
#include "fennik/state/StateFormat.hpp"
#include "layout/Layout.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace KOVNS2::StateReading {

using namespace StateFormat;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMQualifierType;

namespace {

/// The namespace in which earlier versions rendered embedded instances wrongly.
constexpr const char* BROKEN_EMBEDDED_INSTANCES = "zeb/SoftwareMeteringAgent";

String textOf(const XMLNode& node, const char* name) {
    return node.mustFindChild(name).getText();
}

/// The names in `list`, one of the lists of objects of a provider MOF.
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
    OpenWBEM::MOF::compileMOF(mof, handle, Layout::INTEROP_NS, instances, classes, qualifierTypes);
    return instances;
}

/// The provider MOF's objects have only names or keys: they are in their namespace already, and the
/// provider's record only lists them.
OOP1ProviderParts readParts(const XMLNode& node, const OpenWBEM::CIMOMHandleIFCRef& handle) {
    OOP1ProviderParts parts;
    parts.providerMofNamespace = trimmed(textOf(node, PROVIDER_MOF_NAMESPACE));
    const String className = trimmed(textOf(node, PROVIDER_CLASSNAME));
    parts.providerPrivileges = withoutLeadingSpace(textOf(node, PROVIDER_PRIVILEGES));
    parts.providerOOPPrivileges = withoutLeadingSpace(textOf(node, PROVIDER_OOPI_PRIVILEGES));
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

}  // namespace

String childText(const XMLNode& node, const char* name) {
    return trimmed(textOf(node, name));
}

StringArray restoreAllowedUsers(const XMLNode& node) {
    checkNodeName(node, ALLOWED_USERS, "Invalid allowed users node: ");
    StringArray users;
    for (const XMLNode& child : node.getChildren()) {
        users.push_back(trimmed(child.getText()));
    }
    return users;
}

NamespaceAccess namespaceAccess(const XMLNode& node) {
    NamespaceAccess access{childText(node, NAME), {}, {}};
    for (const XMLNode& entry : childrenByName(node, NAMESPACE_ACL_ENTRY)) {
        const String capability = childText(entry, CAPABILITY);
        if (capability == NamespaceModel::READ_WRITE) {
            access.readWrite.push_back(childText(entry, USER_NAME));
        } else if (capability == NamespaceModel::READ_ONLY) {
            access.readOnly.push_back(childText(entry, USER_NAME));
        }
    }
    return access;
}

String repairedMof(const String& ns, String saved) {
    String mof = withoutLeadingSpace(std::move(saved));
    if (ns == BROKEN_EMBEDDED_INSTANCES) {
        log().debug("Fixing invalid embedded instance mof for namespace \"%1\"", ns);
        log().debug("Initial MOF: %1", mof);
        fixBrokenEmbeddedInstances(mof);
        log().debug("Corrected MOF: %1", mof);
    }
    fixImproperlyEscapedCharacters(mof);
    return mof;
}

OOP1ProviderRegistration providerRegistration(const XMLNode& node,
                                              const OpenWBEM::CIMOMHandleIFCRef& handle) {
    checkNodeName(node, OOP1_PROVIDER_REGISTRATION, "Invalid OOP1 registration node: ");
    return OOP1ProviderRegistration(readParts(node, handle));
}

}  // namespace KOVNS2::StateReading
