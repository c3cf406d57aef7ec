// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/ProviderModel.hpp"

#include "fennik/cimom/FNUtils.hpp"

namespace KOVNS2::ProviderModel {

using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMValue;

namespace {

constexpr const char* PREFIX = "ProviderRegistration: ";
constexpr const char* UNIT = "FNProviderRegistrationFacility";

}  // namespace

UnitLog log() {
    return log("fennik");
}

UnitLog log(const char* component) {
    return UnitLog(PREFIX, component, UNIT);
}

String text(const OpenWBEM::CIMInstance& instance, const char* property) {
    return instance.getPropertyValue(property).toString();
}

CIMInstance keysOnly(const CIMObjectPath& path) {
    OpenWBEM::CIMPropertyArray keys = path.getKeys();
    for (OpenWBEM::CIMProperty& key : keys) {
        key.setKey(true);
    }
    return CIMInstance(path.getClassName()).setProperties(std::move(keys));
}

CIMObjectPath providerPath(const String& productName, const String& instanceID) {
    CIMObjectPath path(OOP1_PROVIDER, KOV_NS);
    path.setKeyValue("CreationClassName", CIMValue(OOP1_PROVIDER))
        .setKeyValue("Name", CIMValue(instanceID))
        .setKeyValue("ProductName", CIMValue(productName));
    return path;
}

CIMObjectPath productProviderPath(const String& productName, const CIMObjectPath& provider) {
    CIMObjectPath path(PRODUCT_PROVIDER, KOV_NS);
    path.setKeyValue("Product", CIMValue(productPath(productName)))
        .setKeyValue("Provider", CIMValue(provider));
    return path;
}

blocxx::Array<CIMInstance> capabilitiesOf(OpenWBEM::CIMOMHandleIFC& handle,
                                          const CIMObjectPath& process) {
    blocxx::Array<CIMInstance> instances;
    auto append = OpenWBEM::makeResultHandler<CIMInstance>(
        [&](const CIMInstance& instance) { instances.push_back(instance); });
    handle.associators(INTEROP_NS, process, append,
                       {.assocClass = OOP_PROCESS_CAPABILITIES,
                        .resultClass = OOP_CAPABILITIES,
                        .role = {},
                        .resultRole = {}});
    handle.references(
        INTEROP_NS, process, append,
        {.assocClass = {}, .resultClass = OOP_PROCESS_CAPABILITIES, .role = {}, .resultRole = {}});
    return instances;
}

}  // namespace KOVNS2::ProviderModel
