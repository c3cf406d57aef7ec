// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/ComputedClasses.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/InstanceCompletion.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

using Text = std::pair<const char*, const char*>;

constexpr const char* NAME = "Name";
constexpr const char* NAMESPACE = "CIM_Namespace";
constexpr const char* OBJECT_MANAGER = "CIM_ObjectManager";
constexpr const char* PROFILE = "CIM_RegisteredProfile";

// The keys that every namespace has from the object manager and its system: there is one of each.
constexpr Text SCOPING_KEYS[] = {{"SystemCreationClassName", "CIM_ComputerSystem"},
                                 {"SystemName", "localhost"},
                                 {"ObjectManagerCreationClassName", OBJECT_MANAGER},
                                 {"ObjectManagerName", Layout::OBJECT_MANAGER_NAME},
                                 {"CreationClassName", NAMESPACE}};

constexpr Text OBJECT_MANAGER_TEXTS[] = {
    {"SystemCreationClassName", "CIM_ComputerSystem"},
    {"SystemName", "localhost"},
    {"CreationClassName", OBJECT_MANAGER},
    {NAME, Layout::OBJECT_MANAGER_NAME},
    {"ElementName", "owcimomd"},
    {"Description", "The KOV object manager owcimomd " KOV_VERSION}};

// The DMTF's profile for finding out which profiles there are (DSP1033).
constexpr Text PROFILE_TEXTS[] = {{"InstanceID", Layout::REGISTRATION_PROFILE_ID},
                                  {"ElementName", "Profile Registration"},
                                  {"RegisteredName", "Profile Registration"},
                                  {"RegisteredVersion", "1.0.0"}};
constexpr uint16_t DMTF = 2;            // of RegisteredOrganization
constexpr uint16_t NOT_ADVERTISED = 2;  // of AdvertiseTypes

template <size_t N>
CIMInstance instanceOf(const char* className, const Text (&texts)[N]) {
    CIMInstance instance(className);
    for (const auto& [property, text] : texts) {
        instance.setProperty(property, CIMValue(text));
    }
    return instance;
}

Array<CIMInstance> namespaces(RepositoryCIMOMHandle& handle) {
    Array<CIMInstance> instances;
    auto collect = makeResultHandler<String>([&](const String& name) {
        CIMInstance instance = instanceOf(NAMESPACE, SCOPING_KEYS);
        instance.setProperty(NAME, CIMValue(name));
        instance.setProperty("ClassInfo", CIMValue(uint16_t(0)));
        instances.push_back(std::move(instance));
    });
    handle.enumNameSpace(collect);
    return instances;
}

CIMInstance withScopingKeys(const CIMInstance& instance) {
    CIMInstance result = instance;
    for (const auto& [name, value] : SCOPING_KEYS) {
        const CIMValue given = instance.getPropertyValue(name);
        if (given && given.toString() != value) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                               Format("the key %1 of a namespace is \"%2\" here", name, value));
        }
        result.setProperty(name, CIMValue(value));
    }
    return result;
}

CIMObjectPath createNamespace(RepositoryCIMOMHandle& handle, const CIMClass& cls,
                              const CIMInstance& instance) {
    const CIMInstance complete = completeInstance(withScopingKeys(instance), cls);
    handle.createNameSpace(complete.getPropertyValue(NAME).toString());
    return {Layout::INTEROP_NS, complete};
}

Array<CIMInstance> objectManager(RepositoryCIMOMHandle& /*handle*/) {
    CIMInstance instance = instanceOf(OBJECT_MANAGER, OBJECT_MANAGER_TEXTS);
    instance.setProperty("GatherStatisticalData", CIMValue(false));
    return {instance};
}

Array<CIMInstance> registeredProfiles(RepositoryCIMOMHandle& /*handle*/) {
    CIMInstance instance = instanceOf(PROFILE, PROFILE_TEXTS);
    instance.setProperty("RegisteredOrganization", CIMValue(DMTF));
    instance.setProperty("AdvertiseTypes", CIMValue::array<uint16_t>({NOT_ADVERTISED}));
    return {instance};
}

constexpr ComputedClass CLASSES[] = {
    {NAMESPACE, "a namespace", "the namespaces are instances of this class", false, namespaces,
     createNamespace},
    {OBJECT_MANAGER, "the instance of the object manager itself",
     "the object manager is an instance of this class", true, objectManager, nullptr},
    {PROFILE, "the instance of the object manager's own profile",
     "the object manager's own profile is an instance of this class", true, registeredProfiles,
     nullptr}};

}  // namespace

const ComputedClass* findComputedClass(std::string_view name) noexcept {
    const auto* const found = std::ranges::find_if(CLASSES, [&](const ComputedClass& known) {
        return blocxx::equalsIgnoreCase(known.name, name);
    });
    return found == std::end(CLASSES) ? nullptr : found;
}

}  // namespace OwCimomd
