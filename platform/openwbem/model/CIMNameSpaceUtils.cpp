// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMNameSpaceUtils.hpp"

#include <utility>

namespace OpenWBEM::CIMNameSpaceUtils {

namespace {

constexpr const char* NAMESPACE_CLASS = "CIM_Namespace";

// The keys that name the object manager of a namespace and its system. There is one of each, so
// every namespace has the same.
constexpr std::pair<const char*, const char*> SCOPING_KEYS[] = {
    {"SystemCreationClassName", "CIM_ComputerSystem"},
    {"SystemName", "localhost"},
    {"ObjectManagerCreationClassName", "CIM_ObjectManager"},
    {"ObjectManagerName", "owcimomd"}};

}  // namespace

void createCIM_Namespace(CIMOMHandleIFC& handle, const String& ns, uint16_t classInfo,
                         const String& descriptionOfClassInfo, const String& interopNs) {
    const CIMClass cls = handle.getClass(interopNs, NAMESPACE_CLASS);
    CIMInstance instance = cls.newInstance();
    for (const auto& [name, value] : SCOPING_KEYS) {
        if (cls.getProperty(name) != nullptr) {
            instance.setProperty(name, CIMValue(value));
        }
    }
    instance.setProperty("CreationClassName", CIMValue(NAMESPACE_CLASS));
    instance.setProperty("Name", CIMValue(ns));
    instance.setProperty("ClassInfo", CIMValue(classInfo));
    instance.setProperty("DescriptionOfClassInfo", CIMValue(descriptionOfClassInfo));
    handle.createInstance(interopNs, instance);
}

void enumCIM_Namespace(CIMOMHandleIFC& handle, const String& interopNs,
                       StringResultHandlerIFC& result) {
    auto passName = makeResultHandler<CIMInstance>([&result](const CIMInstance& instance) {
        result.handle(instance.getPropertyValue("Name").toString());
    });
    handle.enumInstances(interopNs, NAMESPACE_CLASS, passName);
}

StringArray enumCIM_Namespace(CIMOMHandleIFC& handle, const String& interopNs) {
    StringArray names;
    ArrayBuilder<String> builder(names);
    enumCIM_Namespace(handle, interopNs, builder);
    return names;
}

}  // namespace OpenWBEM::CIMNameSpaceUtils
