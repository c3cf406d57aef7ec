// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/NamespaceModel.hpp"

#include "fennik/cimom/FNUtils.hpp"
#include "fennik/common/FennikException.hpp"

namespace KOVNS2::NamespaceModel {

using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMValue;

UnitLog log() {
    return UnitLog("NamespaceRegistration: ");
}

CIMObjectPath accessPath(const String& ns, const String& user) {
    CIMObjectPath path(USER_ACL, SECURITY_NS);
    path.setKeyValue("nspace", CIMValue(ns)).setKeyValue("username", CIMValue(user));
    return path;
}

CIMObjectPath reservationPath(const String& ns) {
    CIMObjectPath path(RESERVED_NAMESPACE, KOV_NS);
    path.setKeyValue("Name", CIMValue(ns));
    return path;
}

CIMObjectPath reservedByPath(const String& productName, const String& ns) {
    CIMObjectPath path(PRODUCT_RESERVED_NAMESPACE, KOV_NS);
    path.setKeyValue("Product", CIMValue(productPath(productName)))
        .setKeyValue("ReservedNamespace", CIMValue(reservationPath(ns)));
    return path;
}

namespace {

bool isOwnNamespace(const String& productName, const String& ns) {
    return ns.starts_with(productName) || (productName == "dorvik" && ns.starts_with("zeb"));
}

}  // namespace

void CheckNSBeginWithProd(const StringArray& namespaces, const String& productName, int errorCode) {
    for (const String& ns : namespaces) {
        if (!isOwnNamespace(productName, ns)) {
            throw FennikException(
                blocxx::Format("Namespace %1 must begin with %2.", ns, productName), errorCode);
        }
    }
}

}  // namespace KOVNS2::NamespaceModel
