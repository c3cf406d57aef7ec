// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateGathering.hpp"

#include <unordered_map>

#include "blocxx/Logger.hpp"
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/StandardStreams.hpp"
#include "fennik/common/TextUtils.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNConfigFile.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/state/StateFormat.hpp"
#include "fennik/state/StateProof.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2 {

using namespace OpenWBEM::WBEMFlags;
using namespace StateFormat;
using blocxx::Format;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMOMHandleIFC;
using OpenWBEM::CIMOMHandleIFCRef;
using OpenWBEM::CIMValue;

namespace {

using Layout::KOV_NS;
using Layout::SECURITY_NS;
/// Not saved: the infrastructure registers itself when it is installed.
constexpr const char* INFRASTRUCTURE = "kov";

/// Logs the beginning and the end of a step.
template <class Gather>
XMLNode withStepLog(const char* step, const String& productName, Gather gather) {
    log().debug("%1() called for \"%2\"", step, productName);
    XMLNode node = gather();
    log().debug("%1() done for \"%2\"", step, productName);
    return node;
}

XMLNode gatherAllowedUsers(const CIMOMHandleIFCRef& handle, const String& productName) {
    return withStepLog("gatherAllowedUsers", productName, [&] {
        XMLNode users(ALLOWED_USERS);
        const CIMInstance product = handle->getInstance(KOV_NS, productPath(productName));
        if (blocxx::Logger("fennik").isDebugEnabled()) {
            log().debug("Product registration instance:\n%1", OpenWBEM::MOF::toMOF(product));
        }
        const CIMValue names = product.getPropertyValue("Usernames");
        for (size_t i = 0; i < names.getArraySize(); ++i) {
            const String name = names.getElement(i).toString();
            log().debug("Found username \"%1\"", name);
            users.addChild(createNamedNode(USER_NAME, name));
        }
        return users;
    });
}

/// Reads this machine's snippet, even when the repository is that of a staged tree.
XMLNode gatherConfigFiles(const String& productName) {
    return withStepLog("gatherConfigFiles", productName, [&] {
        return createNamedNode(CONFIG_FILE, getConfigFile(productName, ""));
    });
}

XMLNode createAccessNode(const String& ns, const CIMInstance& access) {
    const String user = access.getPropertyValue("username").toString();
    const String capability = access.getPropertyValue("capability").toString();
    log().debug("NS \"%1\" has username \"%2\" with capabilities \"%3\"", ns, user, capability);
    XMLNode entry(NAMESPACE_ACL_ENTRY);
    entry.addChild(createNamedNode(USER_NAME, user));
    entry.addChild(createNamedNode(CAPABILITY, capability));
    return entry;
}

using AccessRights = std::unordered_map<String, Array<CIMInstance>>;

/// The access rights to a namespace. The first call reads those of all namespaces into `rights`:
/// reading them for each would take time quadratic in the number of namespaces.
const Array<CIMInstance>& rightsTo(const String& ns, CIMOMHandleIFC& handle, AccessRights& rights) {
    if (rights.empty()) {
        auto add = OpenWBEM::makeResultHandler<CIMInstance>([&](const CIMInstance& access) {
            rights[access.getPropertyValue("nspace").toString()].push_back(access);
        });
        handle.enumInstances(SECURITY_NS, "OpenWBEM_UserACL", add);
    }
    return rights[ns];  // adds an entry, even an empty one
}

XMLNode gatherNamespaceRegistration(const CIMOMHandleIFCRef& handle, const String& productName,
                                    AccessRights& rights) {
    return withStepLog("gatherNamespaceRegistration", productName, [&] {
        XMLNode registration(NAMESPACE_REGISTRATION);
        for (const String& ns : listNamespaces(handle, productName)) {
            XMLNode node(NAMESPACE);
            node.addChild(createNamedNode(NAME, ns));
            for (const CIMInstance& access : rightsTo(ns, *handle, rights)) {
                node.addChild(createAccessNode(ns, access));
            }
            registration.addChild(node);
        }
        return registration;
    });
}

XMLNode createOOP1RegistrationNode(const OOP1ProviderRegistration& registration) {
    log().debug("createOOP1RegistrationNode() called");
    const String& ns = registration.providerMofNamespace();
    XMLNode node(OOP1_PROVIDER_REGISTRATION);
    node.addChild(createNamedNode(PROVIDER_MOF_NAMESPACE, ns));
    // Empty for a process: its capabilities name the classes.
    node.addChild(createNamedNode(
        PROVIDER_CLASSNAME, ProviderModel::text(registration.registrationInstance(), "ClassName")));
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
    const String message = Format("Bad provider type found while saving state: \"%1\"", info);
    logError(message);
    throw FennikException(message, ErrorCode::INVALID_INPUT);
}

// Reads this machine's privilege files, even when the repository is that of a staged tree.
XMLNode gatherProviderRegistration(const CIMOMHandleIFCRef& handle, const String& productName) {
    return withStepLog("gatherProviderRegistration", productName, [&] {
        XMLNode providers(REGISTERED_PROVIDERS);
        for (const auto& registration : GetCurrentProviderRegistrations(handle, productName, "")) {
            providers.addChild(createProviderRegistrationNode(*registration));
        }
        return providers;
    });
}

XMLNode gatherProductInstances(const CIMOMHandleIFCRef& handle, const String& productName) {
    return withStepLog("gatherProductInstances", productName, [&] {
        XMLNode instances(PRODUCT_INSTANCES);
        for (const String& ns : listNamespaces(handle, productName)) {
            XMLNode node(NAMESPACE_INSTANCES);
            node.addChild(createNamedNode(NAME, ns));
            node.addChild(createNamedNode(INSTANCE_MOF, dumpNamespace(ns, *handle)));
            instances.addChild(node);
        }
        return instances;
    });
}

XMLNode createProductDump(const CIMOMHandleIFCRef& handle, const String& productName,
                          AccessRights& rights) {
    return withStepLog("createProductDump", productName, [&] {
        XMLNode product(PRODUCT);
        product.addChild(createNamedNode(NAME, productName));
        product.addChild(gatherAllowedUsers(handle, productName));
        product.addChild(gatherConfigFiles(productName));
        product.addChild(gatherNamespaceRegistration(handle, productName, rights));
        product.addChild(gatherProviderRegistration(handle, productName));
        product.addChild(gatherProductInstances(handle, productName));
        // Before an earlier state file is overwritten.
        StateProof::prove(product, productName, handle);
        return product;
    });
}

}  // namespace

XMLNode createStateDump(const CIMOMHandleIFCRef& handle) {
    log().debug("createStateDump() called...");
    XMLNode root(SAVED_PRODUCT_STATE);
    root.addChild(createNamedNode(VERSION, WRITER_VERSION));
    XMLNode products(SAVED_PRODUCTS);
    AccessRights rights;
    for (const String& name : listRegisteredProducts(handle)) {
        if (!equals_ignorecase(name, INFRASTRUCTURE)) {
            StandardStreams::writeProgress(
                Format("Saving product registration for %1", name).toString() + "\n");
            products.addChild(createProductDump(handle, name, rights));
        }
    }
    root.addChild(products);
    log().debug("createStateDump() done...");
    return root;
}

void forEachSavedInstance(const String& ns, CIMOMHandleIFC& handle,
                          const std::function<void(const CIMInstance&)>& visit) {
    auto handler = OpenWBEM::makeResultHandler<CIMInstance>(visit);
    for (const String& top : handle.enumClassNamesA(ns, String())) {
        handle.enumInstances(ns, top, handler, E_DEEP, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                             E_EXCLUDE_CLASS_ORIGIN, nullptr);
    }
}

String dumpNamespace(const String& ns, CIMOMHandleIFC& handle) {
    String mof = "#pragma namespace(\"" + ns + "\")\n";
    mof += arrayToMOF(handle.enumQualifierTypesA(ns));
    // Classes and instances one at a time, because there may be many.
    auto appendClass = OpenWBEM::makeResultHandler<CIMClass>(
        [&](const CIMClass& cls) { mof += objectToMOF(cls); });
    handle.enumClass(ns, String(), appendClass, E_DEEP, E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                     E_INCLUDE_CLASS_ORIGIN);
    forEachSavedInstance(ns, handle,
                         [&](const CIMInstance& instance) { mof += objectToMOF(instance); });
    return mof;
}

}  // namespace KOVNS2
