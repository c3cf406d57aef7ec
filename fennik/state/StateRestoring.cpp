// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateRestoring.hpp"

#include <utility>

#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/StandardStreams.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNConfigFile.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/state/StateFormat.hpp"
#include "fennik/state/StateNames.hpp"
#include "fennik/state/StateReading.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace KOVNS2 {

using namespace StateFormat;
using blocxx::Format;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMQualifierType;

namespace {

void tell(const String& line) {
    StandardStreams::writeProgress(line + "\n");
}

void restoreConfigFiles(const XMLNode& node, const String& productName,
                        const RestoreTarget& target) {
    checkNodeName(node, CONFIG_FILE, "Invalid config file node: ");
    setConfigFileFromString(productName, withoutLeadingSpace(node.getText()), target.prefix);
}

void restoreNamespaceRegistration(const XMLNode& node, const String& productName,
                                  const RestoreTarget& target) {
    checkNodeName(node, NAMESPACE_REGISTRATION, "Invalid namespace registration node: ");
    for (const XMLNode& child : childrenByName(node, NAMESPACE)) {
        const StateReading::NamespaceAccess access = StateReading::namespaceAccess(child);
        registerNamespaces(target.handle, productName, access.readWrite, access.readOnly,
                           {access.ns}, target.prefix, target.undo);
    }
}

/// Passes each object to `write` and releases it: the repository holds what was written, and that
/// may be large.
template <class Object, class Write>
void writeAll(Array<Object> objects, Write write) {
    for (Object& object : objects) {
        write(std::exchange(object, Object()));
    }
}

// No undo steps: the namespace is new and is dropped with the working copy.
void writeNamespaceContent(const String& ns, String mof, const RestoreTarget& target) {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    OpenWBEM::MOF::compileMOF(std::move(mof), target.handle, ns, instances, classes,
                              qualifierTypes);
    writeAll(std::move(qualifierTypes), [&](const CIMQualifierType& qualifierType) {
        target.handle->setQualifierType(ns, qualifierType);
    });
    writeAll(std::move(classes), [&](const CIMClass& cls) { target.handle->createClass(ns, cls); });
    writeAll(std::move(instances),
             [&](const CIMInstance& instance) { target.handle->createInstance(ns, instance); });
}

/// Whether the node has a child of that name; logs `message` when it has none.
bool hasChild(const XMLNode& node, const char* name, const char* message) {
    if (findChildByName(node, name)) {
        return true;
    }
    if (blocxx::Logger("fennik").isDebugEnabled()) {
        log().debug(message, name, toString(node));
    }
    return false;
}

void restoreNamespaceInstances(const XMLNode& node, const RestoreTarget& target) {
    if (!hasChild(node, NAME, "No namespace \"%1\" node for product instances: %2") ||
        !hasChild(node, INSTANCE_MOF, "No mof node \"%1\" for product instances: %2")) {
        return;
    }
    const String ns = StateReading::childText(node, NAME);
    log().debug("Restoring product instances for namespace \"%1\"", ns);
    String mof = StateReading::repairedMof(ns, node.mustFindChild(INSTANCE_MOF).takeText());
    log().debug("Restoring product instances.  MOF:\n%1", mof);
    writeNamespaceContent(ns, std::move(mof), target);
}

void restoreProductInstances(const XMLNode& node, const RestoreTarget& target) {
    checkNodeName(node, PRODUCT_INSTANCES, "Invalid product instances node: ");
    for (const XMLNode& child : childrenByName(node, NAMESPACE_INSTANCES)) {
        restoreNamespaceInstances(child, target);
    }
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
        throw FennikException(Format("Bad provider registration node type: \"%1\"", node.getName()),
                              ErrorCode::INVALID_INPUT);
    }
    installOOP1RegistrationFromNode(node, productName, target);
    log().debug("createRegistrationFromNode() done");
}

/// The providers' classes and instances have been restored already.
void restoreProviderRegistration(const XMLNode& node, const String& productName,
                                 const RestoreTarget& target) {
    checkNodeName(node, REGISTERED_PROVIDERS, "Invalid provider registration node: ");
    for (const XMLNode& child : node.getChildren()) {
        installRegistrationFromNode(child, productName, target);
    }
    if (!node.getChildren().empty()) {
        PrivilegeFiles::syncNames(target.prefix);
    }
}

/// Calls `restore` on the child of that name if there is one.
template <class Restore>
void restoreIfPresent(const XMLNode& node, const char* name, const char* absent, Restore restore) {
    const XMLNode child = findChildByName(node, name);
    if (child) {
        restore(child);
    } else {
        log().debug(absent);
    }
}

// Restores the contents of the namespaces before the providers. Providers are only recorded: their
// classes and instances are part of those contents.
void restoreProductDump(const XMLNode& node, const RestoreTarget& target) {
    checkNodeName(node, PRODUCT, "Invalid product node: ");
    const XMLNode nameNode = findChildByName(node, NAME);
    checkNodeName(nameNode, NAME, "No node with product name: ");
    const String name = trimmed(nameNode.getText());
    if (blocxx::Logger("fennik").isDebugEnabled()) {
        log().debug("Have product node for \"%1\":\n%2", name, toString(node));
    }
    tell(Format("Restoring product registration for %1", name));

    const StringArray users =
        StateReading::restoreAllowedUsers(findChildByName(node, ALLOWED_USERS));
    registerProduct(target.handle, name, users, target.prefix, Permanence::WITH_THE_COPY);
    restoreIfPresent(node, CONFIG_FILE, "No config file node attached...",
                     [&](const XMLNode& child) {
                         log().debug("Found config file node");
                         restoreConfigFiles(child, name, target);
                     });
    restoreIfPresent(node, NAMESPACE_REGISTRATION, "No namespace registration node attached...",
                     [&](const XMLNode& child) {
                         log().debug("Found namespace registration node");
                         restoreNamespaceRegistration(child, name, target);
                     });
    restoreIfPresent(node, PRODUCT_INSTANCES, "No product instance node attached...",
                     [&](const XMLNode& child) { restoreProductInstances(child, target); });
    restoreIfPresent(
        node, REGISTERED_PROVIDERS, "No provider registration node attached...",
        [&](const XMLNode& child) { restoreProviderRegistration(child, name, target); });
}

}  // namespace

void restoreStateDump(const XMLNode& root, const RestoreTarget& target) {
    checkNodeName(root, SAVED_PRODUCT_STATE, "Invalid product state root node: ");
    tell(Format("Restoring product registration from KOV version %1",
                StateReading::childText(root, VERSION)));
    const XMLNode products = root.mustFindChild(SAVED_PRODUCTS);
    if (products.getChildren().empty()) {
        tell("Nothing to do.  No products exist in the saved state.");
        return;
    }
    // Before the first change: a later failure would leave the files of earlier products behind.
    StateNames::checkSavedNames(products);
    for (const XMLNode& product : products.getChildren()) {
        restoreProductDump(product, target);
    }
}

}  // namespace KOVNS2
