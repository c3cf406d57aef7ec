// SPDX-License-Identifier: Apache-2.0
//
// The instances by which clients find out what they speak to: the daemon computes them, and others
// of their classes are stored beside them.
#include <gmock/gmock.h>

#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using T = CIMDataType;

constexpr const char* MANAGER = "CIM_ObjectManager";
constexpr const char* PROFILE = "CIM_RegisteredProfile";
constexpr int NOT_FOUND = 6;
constexpr int NOT_SUPPORTED = 7;

CIMClass managerClass() {
    return makeClass(
        MANAGER, "",
        {property("SystemCreationClassName", T::STRING, true),
         property("SystemName", T::STRING, true), property("CreationClassName", T::STRING, true),
         property("Name", T::STRING, true), property("ElementName", T::STRING),
         property("Description", T::STRING), property("GatherStatisticalData", T::BOOLEAN)});
}

CIMClass profileClass() {
    return makeClass(
        PROFILE, "",
        {property("InstanceID", T::STRING, true), property("ElementName", T::STRING),
         property("RegisteredOrganization", T::UINT16), property("RegisteredName", T::STRING),
         property("RegisteredVersion", T::STRING),
         property("AdvertiseTypes", T::array(T::UINT16))});
}

CIMInstance profile(const String& id, const String& name) {
    return CIMInstance(PROFILE)
        .setProperty("InstanceID", CIMValue(id))
        .setProperty("RegisteredName", CIMValue(name));
}

class Discovery : public ::testing::Test {
protected:
    Discovery() : handle(m_daemon.connect()) {}
    void createClasses() {
        handle->createClass("root", managerClass());
        handle->createClass("root", profileClass());
    }
    StringArray profileNames() {
        StringArray names;
        for (const CIMInstance& instance : handle->enumInstancesA("root", PROFILE)) {
            names.push_back(instance.getPropertyValue("RegisteredName").toString());
        }
        return names;
    }
    /// Writes into the repository while the daemon is stopped.
    void storeDirectly(const CIMInstance& instance) {
        m_daemon.end(SIGTERM);
        OpenRepository opened(m_daemon.repository());
        opened->createInstance("root", instance);
        opened.repository().close();
        m_daemon.start();
        handle = m_daemon.connect();
    }

    LiveDaemon m_daemon;
    CIMOMHandleIFCRef handle;
};

TEST_F(Discovery, TheObjectManagerIsFound) {
    createClasses();
    const Array<CIMInstance> found = handle->enumInstancesA("root", "cim_objectmanager");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].getPropertyValue("Name"), CIMValue("owcimomd"));
    EXPECT_EQ(found[0].getPropertyValue("CreationClassName"), CIMValue(MANAGER));
    EXPECT_EQ(found[0].getPropertyValue("GatherStatisticalData"), CIMValue(false));
    EXPECT_THAT(found[0].getPropertyValue("Description").toString(),
                StartsWith("The KOV object manager owcimomd 0."));
    const Array<CIMObjectPath> paths = handle->enumInstanceNamesA("ROOT", MANAGER);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(paths[0].getKeys().size(), 4U);
    EXPECT_EQ(handle->getInstance("root", paths[0]), found[0]);
}

TEST_F(Discovery, TheObjectManagerIsTheOneThatItsNamespacesName) {
    createClasses();
    const CIMObjectPath manager = handle->enumInstanceNamesA("root", MANAGER).at(0);
    const CIMObjectPath space = handle->enumInstanceNamesA("root", "CIM_Namespace").at(0);
    for (const char* key : {"SystemCreationClassName", "SystemName"}) {
        EXPECT_EQ(manager.getKeyValue(key), space.getKeyValue(key)) << key;
    }
    EXPECT_EQ(manager.getKeyValue("CreationClassName"),
              space.getKeyValue("ObjectManagerCreationClassName"));
    EXPECT_EQ(manager.getKeyValue("Name"), space.getKeyValue("ObjectManagerName"));
}

TEST_F(Discovery, TheProfileOfProfilesIsFound) {
    createClasses();
    const CIMObjectPath path = handle->enumInstanceNamesA("root", PROFILE).at(0);
    const CIMInstance found = handle->getInstance("root", path);
    EXPECT_EQ(found.getPropertyValue("RegisteredName"), CIMValue("Profile Registration"));
    EXPECT_EQ(found.getPropertyValue("RegisteredVersion"), CIMValue("1.0.0"));
    EXPECT_EQ(found.getPropertyValue("RegisteredOrganization"), CIMValue(uint16_t(2)));
    EXPECT_EQ(found.getPropertyValue("AdvertiseTypes"), CIMValue::array<uint16_t>({2}));
}

TEST_F(Discovery, OnlyTheWantedPropertiesAreReturned) {
    createClasses();
    const StringArray wanted{"RegisteredName"};
    Array<CIMInstance> found;
    auto collect = makeResultHandler<CIMInstance>(
        [&](const CIMInstance& instance) { found.push_back(instance); });
    handle->enumInstances("root", PROFILE, collect, E_DEEP, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                          E_EXCLUDE_CLASS_ORIGIN, &wanted);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].getPropertyValue("RegisteredName"), CIMValue("Profile Registration"));
    EXPECT_FALSE(found[0].getPropertyValue("RegisteredVersion"));
}

TEST_F(Discovery, WhatIsComputedCannotBeChanged) {
    createClasses();
    for (const char* name : {MANAGER, PROFILE}) {
        const CIMObjectPath path = handle->enumInstanceNamesA("root", name).at(0);
        const CIMInstance instance = handle->getInstance("root", path);
        String message;
        EXPECT_EQ(NOT_SUPPORTED,
                  statusOf([&] { handle->createInstance("root", instance); }, &message));
        EXPECT_THAT(message, HasSubstr(" cannot be created through the object manager"));
        EXPECT_EQ(NOT_SUPPORTED,
                  statusOf([&] { handle->modifyInstance("root", instance); }, &message));
        EXPECT_THAT(message, HasSubstr(" cannot be changed through the object manager"));
        EXPECT_EQ(NOT_SUPPORTED, statusOf([&] { handle->deleteInstance("root", path); }, &message));
        EXPECT_THAT(message, HasSubstr(" cannot be deleted through the object manager"));
        EXPECT_EQ(9, statusOf([&] { handle->deleteClass("root", name); }));
        EXPECT_EQ(handle->getInstance("root", path), instance);
    }
}

TEST_F(Discovery, OthersAreStoredBesideIt) {
    createClasses();
    const CIMObjectPath path = handle->createInstance("root", profile("ACME:1", "Fans"));
    EXPECT_THAT(profileNames(), ElementsAre("Profile Registration", "Fans"));
    EXPECT_EQ(handle->enumInstanceNamesA("root", PROFILE).size(), 2U);
    handle->modifyInstance("root", profile("ACME:1", "Power"));
    EXPECT_EQ(handle->getInstance("root", path).getPropertyValue("RegisteredName"),
              CIMValue("Power"));
    m_daemon.end(SIGKILL);
    m_daemon.start();
    handle = m_daemon.connect();
    EXPECT_THAT(profileNames(), ElementsAre("Profile Registration", "Power"));
    handle->deleteInstance("root", path);
    EXPECT_THAT(profileNames(), ElementsAre("Profile Registration"));
    EXPECT_EQ(NOT_FOUND, statusOf([&] { handle->getInstance("root", path); }));
    EXPECT_EQ(NOT_FOUND, statusOf([&] { handle->deleteInstance("root", path); }));
}

TEST_F(Discovery, AStoredOneWithThePathOfAComputedOneTakesItsPlace) {
    createClasses();
    const CIMObjectPath path = handle->enumInstanceNamesA("root", PROFILE).at(0);
    storeDirectly(profile(path.getKeyValue("InstanceID").toString(), "Stored"));
    EXPECT_THAT(profileNames(), ElementsAre("Stored"));
    EXPECT_EQ(handle->enumInstanceNamesA("root", PROFILE).size(), 1U);
    EXPECT_EQ(handle->getInstance("root", path).getPropertyValue("RegisteredName"),
              CIMValue("Stored"));
    handle->deleteInstance("root", path);
    EXPECT_THAT(profileNames(), ElementsAre("Profile Registration"));
}

TEST_F(Discovery, WithoutTheirClassThereIsNone) {
    EXPECT_EQ(5, statusOf([&] { handle->enumInstancesA("root", MANAGER); }));
    EXPECT_EQ(5, statusOf([&] { handle->enumInstanceNamesA("root", PROFILE); }));
    EXPECT_EQ(5, statusOf([&] { handle->createInstance("root", profile("ACME:1", "Fans")); }));
    EXPECT_EQ(NOT_FOUND, statusOf([&] { handle->deleteClass("root", PROFILE); }));
}

TEST_F(Discovery, AClassOfAnotherFormHasTheStoredOnesOnly) {
    handle->createClass("root", makeClass(PROFILE, "",
                                          {property("Number", T::UINT32, true),
                                           property("RegisteredName", T::STRING)}));
    CIMInstance own(PROFILE);
    own.setProperty("Number", CIMValue(uint32_t(1)));
    own.setProperty("RegisteredName", CIMValue("Own"));
    const CIMObjectPath path = handle->createInstance("root", own);
    EXPECT_THAT(profileNames(), ElementsAre("Own"));
    handle->deleteInstance("root", path);
    handle->deleteClass("root", PROFILE);
}

TEST_F(Discovery, OtherNamespacesHaveOrdinaryClasses) {
    handle->createClass("root/security", profileClass());
    EXPECT_EQ(handle->enumInstancesA("root/security", PROFILE).size(), 0U);
    handle->deleteClass("root/security", PROFILE);
}

TEST_F(Discovery, ManyStoredOnesAreReturnedAfterIt) {
    createClasses();
    constexpr size_t COUNT = 2000;
    Array<CIMInstance> instances;
    for (size_t i = 0; i < COUNT; ++i) {
        instances.push_back(profile("ACME:" + std::to_string(i), "Fans"));
    }
    const ObjectsToStore objects{{}, {}, instances};
    // The second time they exist and are changed.
    m_daemon.connect()->store("root", objects);
    m_daemon.connect()->store("root", objects);
    EXPECT_EQ(profileNames().size(), COUNT + 1);
}

}  // namespace
}  // namespace KovTest
