// SPDX-License-Identifier: Apache-2.0
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/namespace/NamespaceModel.hpp"

namespace KOVNS2 {

using namespace NamespaceModel;
using OpenWBEM::CIMInstance;

StringArray listNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName) {
    log().debug("Obtaining registered namespaces for product \"%1\"", productName);
    StringArray namespaces;
    auto appendName = OpenWBEM::makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
        namespaces.push_back(instance.getPropertyValue("Name").toString());
    });
    handle->associators(KOV_NS, productPath(productName), appendName,
                        {.assocClass = PRODUCT_RESERVED_NAMESPACE,
                         .resultClass = RESERVED_NAMESPACE,
                         .role = {},
                         .resultRole = {}});
    log().debug("Product \"%1\" has registered namespaces \"%2\"", productName, Quoted{namespaces});
    return namespaces;
}

void loadNamespaceUsers(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& ns,
                        StringArray& userNames) {
    log().debug("Obtaining valid users for namespace \"%1\"", ns);
    auto appendUser = OpenWBEM::makeResultHandler<CIMInstance>([&](const CIMInstance& access) {
        if (access.getPropertyValue("nspace").toString() == ns) {
            userNames.push_back(access.getPropertyValue("username").toString());
        }
    });
    handle->enumInstances(SECURITY_NS, USER_ACL, appendUser);
    log().debug("Found users \"%1\"", Quoted{userNames});
}

}  // namespace KOVNS2
