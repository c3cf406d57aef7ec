// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/namespace/NamespaceModel.hpp"
#include "fennik/namespace/NamespaceUtils.hpp"

namespace KOVNS2 {

using namespace NamespaceModel;

namespace {

void removeAccess(OpenWBEM::CIMOMHandleIFC& handle, const String& ns, const StringArray& users) {
    log().debug("Removing user permissions for namespace \"%1\"", ns);
    for (const String& user : users) {
        handle.deleteInstance(SECURITY_NS, accessPath(ns, user));
    }
}

void removeReservation(OpenWBEM::CIMOMHandleIFC& handle, const String& productName,
                       const String& ns) {
    log().debug("Deleting product->namespace association");
    handle.deleteInstance(KOV_NS, reservedByPath(productName, ns));
    log().debug("Deleting namespace reservation for \"%1\"", ns);
    handle.deleteInstance(KOV_NS, reservationPath(ns));
}

}  // namespace

void deregisterNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                          const StringArray& namespaces) {
    log().debug("Deregistering namespaces for product \"%1\": \"%2\"", productName,
                Quoted{namespaces});
    CheckNSBeginWithProd(namespaces, productName, 7);
    CheckProductRegistration(handle, productName);
    const NamespaceUtilsRef namespaceUtils = GetNSUtils(handle);
    for (const String& ns : namespaces) {
        StringArray users;
        loadNamespaceUsers(handle, ns, users);
        removeAccess(*handle, ns, users);
        log().debug("Deleting namespace \"%1\"", ns);
        namespaceUtils->DeleteNamespace(ns);
        removeReservation(*handle, productName, ns);
    }
}

}  // namespace KOVNS2
