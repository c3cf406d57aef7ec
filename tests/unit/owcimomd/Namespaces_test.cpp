// SPDX-License-Identifier: Apache-2.0
//
// Namespaces as instances of CIM_Namespace, which the daemon provides.
#include <gmock/gmock.h>

#include "openwbem/model/CIMNameSpaceUtils.hpp"
#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using ::testing::ElementsAre;

class NamespaceInstances : public ::testing::Test {
protected:
    NamespaceInstances() : handle(m_daemon.connect()) {}
    StringArray names() { return CIMNameSpaceUtils::enumCIM_Namespace(*handle, "root"); }
    void create(const String& name) {
        CIMNameSpaceUtils::createCIM_Namespace(*handle, name, 0, "", "root");
    }

    LiveDaemon m_daemon;
    CIMOMHandleIFCRef handle;
};

TEST_F(NamespaceInstances, AreListedCreatedAndFound) {
    EXPECT_THAT(names(), ElementsAre("root", "root/security"));
    create("a/b");
    EXPECT_THAT(names(), ElementsAre("root", "root/security", "a/b"));
    EXPECT_EQ(0, statusOf([&] { handle->enumClassNamesA("a/b", ""); }));
    const Array<CIMObjectPath> paths = handle->enumInstanceNamesA("root", "cim_namespace");
    ASSERT_EQ(3u, paths.size());
    EXPECT_EQ(6u, paths[2].getKeys().size());
    EXPECT_EQ(CIMValue("a/b"), handle->getInstance("root", paths[2]).getPropertyValue("Name"));
    CIMObjectPath other = paths[2];
    other.setKeyValue("Name", CIMValue("c"));
    EXPECT_EQ(6, statusOf([&] { handle->getInstance("root", other); }));
}

TEST_F(NamespaceInstances, AreThereAfterARestart) {
    create("kept");
    m_daemon.end(SIGKILL);
    m_daemon.start();
    EXPECT_THAT(names(), ElementsAre("root", "root/security", "kept"));
}

TEST_F(NamespaceInstances, CannotBeDeletedOrChanged) {
    const CIMObjectPath path = handle->enumInstanceNamesA("root", "CIM_Namespace").at(1);
    EXPECT_EQ(7, statusOf([&] { handle->deleteInstance("root", path); }));
    const CIMInstance instance = handle->getInstance("root", path);
    EXPECT_EQ(7, statusOf([&] { handle->modifyInstance("root", instance); }));
    EXPECT_EQ(2u, names().size());
}

TEST_F(NamespaceInstances, KeepTheirClass) {
    EXPECT_EQ(9, statusOf([&] { handle->deleteClass("ROOT", "cim_namespace"); }));
    EXPECT_EQ(2u, names().size());
    // Elsewhere it is a class like any other.
    EXPECT_EQ(6, statusOf([&] { handle->deleteClass("root/security", "CIM_Namespace"); }));
}

TEST_F(NamespaceInstances, AreRefusedWithTheStatusThatSaysWhy) {
    EXPECT_EQ(11, statusOf([&] { create("ROOT"); }));
    EXPECT_EQ(4, statusOf([&] { create(""); }));
    EXPECT_EQ(4, statusOf([&] { create("../x"); }));
    CIMInstance elsewhere("CIM_Namespace");
    elsewhere.setProperty("Name", CIMValue("x"));
    elsewhere.setProperty("SystemName", CIMValue("elsewhere"));
    EXPECT_EQ(4, statusOf([&] { handle->createInstance("root", elsewhere); }));
    EXPECT_EQ(5, statusOf([&] { handle->enumInstancesA("root/security", "CIM_Namespace"); }));
    EXPECT_EQ(2u, names().size());
}

}  // namespace
}  // namespace KovTest
