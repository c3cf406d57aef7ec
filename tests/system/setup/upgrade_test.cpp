// SPDX-License-Identifier: Apache-2.0
//
// kov-setup brings an existing repository up to date with a newer schema.
#include <gmock/gmock.h>

#include <filesystem>

#include "openwbem/model/CIMException.hpp"
#include "tests/system/setup/UpgradeTree.hpp"

namespace KovSetupTest {
namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

using Upgrade = UpgradeTree;

String added(const String& what) {
    return "kov-setup: " + what + " was added.\n";
}

String changed(const String& what) {
    return "kov-setup: " + what + " was changed.\n";
}

TEST_F(Upgrade, MakesARepositoryLikeOneThatTheNewVersionMakes) {
    editAll();
    const Outcome outcome = upgrade();
    EXPECT_EQ(outcome.status.toString(), "exited with status 0") << outcome.output;
    const Content upgraded = content();
    std::filesystem::remove_all(repository());
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    EXPECT_TRUE(upgraded == content());
}

TEST_F(Upgrade, SaysEachChange) {
    editAll();
    String expected;
    for (const char* ns : {"root", "root/security", "kov"}) {
        const String where = String("\" in the namespace \"") + ns + "\"";
        expected += changed("the qualifier type \"UnknownValues" + where);
        expected += added("the qualifier type \"Newer" + where);
        if (String(ns) == "root/security") {
            expected += changed("the class \"OpenWBEM_UserACL" + where);
        }
    }
    expected += changed("the class \"KOV_Product\" in the namespace \"kov\"");
    expected += added("the class \"KOV_Newer\" in the namespace \"kov\"");
    EXPECT_EQ(upgrade().output, expected + ready());
}

TEST_F(Upgrade, DoesNothingTheSecondTime) {
    addProduct();
    editAll();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    const auto before = snapshot(stage());
    EXPECT_EQ(upgrade().output, ready());
    EXPECT_TRUE(snapshot(stage()) == before);
}

TEST_F(Upgrade, DoesNothingWithTheSchemaThatIsThere) {
    addProduct();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    const String before = readFile(file());
    EXPECT_EQ(upgrade().output, ready());
    EXPECT_TRUE(readFile(file()) == before);
}

TEST_F(Upgrade, TouchesNothingElse) {
    addProduct();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    const Content before = content();
    editAll();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    const Content after = content();
    StringArray different;
    for (const auto& [name, object] : after) {
        if (const auto found = before.find(name);
            found == before.end() || found->second != object) {
            different.push_back(name);
        }
    }
    EXPECT_THAT(
        different,
        UnorderedElementsAre("kov class kov_newer", "kov class kov_product",
                             "kov instance kov:KOV_Product.Name=\"sample\"", "kov type newer",
                             "kov type unknownvalues", "root type newer", "root type unknownvalues",
                             "root/security class openwbem_useracl", "root/security type newer",
                             "root/security type unknownvalues", "sample/one type newer"));
    for (const auto& [name, object] : before) {
        EXPECT_EQ(after.count(name), 1U) << name;
    }
}

TEST_F(Upgrade, AddedPropertyComesIntoInstancesWithItsDefault) {
    addProduct();
    editAll();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    withRepository([](CIMOMHandleIFC& handle) {
        const auto products = handle.enumInstancesA("kov", "KOV_Product");
        ASSERT_EQ(products.size(), 1U);
        EXPECT_EQ(products[0].getPropertyValue("Level").toString(), "3");
        EXPECT_EQ(products[0].getPropertyValue("Usernames").toString(), "alice");
    });
}

TEST_F(Upgrade, SubclassOfAProductInheritsTheChange) {
    addProduct();
    edit("interop.mof", "[Description (\n        \"A class that stands for the process",
         "uint8 Level = 7; [Description (\n        \"A class that stands for the process");
    const Outcome outcome = upgrade();
    ASSERT_TRUE(outcome.status.terminatedSuccessfully()) << outcome.output;
    withRepository([](CIMOMHandleIFC& handle) {
        const auto all = handle.enumInstancesA("root", "Sample_Process");
        ASSERT_EQ(all.size(), 1U);
        EXPECT_EQ(all[0].getPropertyValue("Level").toString(), "7");
        EXPECT_EQ(all[0].getPropertyValue("Extra").toString(), "kept");
    });
}

TEST_F(Upgrade, ReservedNamespaceGetsTheQualifierTypesThatItLacksAndKeepsItsOwn) {
    addProduct();
    append("qualifiers.mof",
           "Qualifier Newer : string = null, Scope(any), Flavor(EnableOverride);\n");
    const Outcome outcome = upgrade();
    const String where = " in the namespace \"sample/one\"";
    EXPECT_THAT(outcome.output, HasSubstr(added("the qualifier type \"Newer\"" + where)));
    EXPECT_EQ(outcome.output.find("\"Max\"" + where), String::npos);
    EXPECT_EQ(outcome.output.find("\"gone\""), String::npos);
    withRepository([](CIMOMHandleIFC& handle) {
        EXPECT_EQ(handle.getQualifierType("sample/one", "Max").getDefaultValue().toString(),
                  "other");
        EXPECT_EQ(handle.enumQualifierTypesA("sample/one").size(), 75U);
    });
}

TEST_F(Upgrade, ClassThatTheSchemaNoLongerHasStays) {
    addProduct();
    store("kov",
          "instance of KOV_OOP1Provider { CreationClassName = \"KOV_OOP1Provider\";"
          " Name = \"p\"; ProductName = \"sample\"; RegistrationInstanceID = \"i\";"
          " RegistrationClassName = \"c\"; };");
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    const Content before = content();
    const String text = readFile(path("/schema/kov.mof"));
    const size_t begin = text.find("[Description (\n    \"A provider that runs in a process");
    const size_t end = text.find("[Association, Description (\"Tells which product registered");
    ASSERT_NE(end, String::npos);
    edit("kov.mof", text.substr(begin, end - begin), "");
    EXPECT_EQ(upgrade().output, ready());
    EXPECT_TRUE(content() == before);
}

TEST_F(Upgrade, RemovedPropertyGoesWhereThereAreNoInstances) {
    edit("security.mof", "string capability;", "uint8 other;");
    EXPECT_EQ(
        upgrade().output,
        changed("the class \"OpenWBEM_UserACL\" in the namespace \"root/security\"") + ready());
    withRepository([](CIMOMHandleIFC& handle) {
        EXPECT_EQ(handle.getClass("root/security", "OpenWBEM_UserACL").getProperty("capability"),
                  nullptr);
    });
}

TEST_F(Upgrade, NamespaceThatIsMissingIsMade) {
    const Content before = content();
    {
        const OpenRepository opened(repository());
        opened->deleteNameSpace("kov");
        opened.repository().close();
    }
    EXPECT_THAT(upgrade().output, HasSubstr(added("the namespace \"kov\"")));
    EXPECT_TRUE(content() == before);
}

class UpgradeCutShort : public Upgrade, public ::testing::WithParamInterface<const char*> {};

TEST_P(UpgradeCutShort, LeavesTheRepositoryAsItWasOrComplete) {
    if (!canInject()) {
        GTEST_SKIP() << "programs cannot be traced here (strace)";
    }
    addProduct();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    const Content before = content();
    const String bytes = readFile(file());
    editAll();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    const Content after = content();
    ASSERT_FALSE(before == after);
    int met = 0;
    for (int n = 1;; n = n * 3 / 2 + 1) {
        writeFile(file(), bytes);
        String injection = GetParam();
        injection.replace(injection.find('#'), 1, std::to_string(n));
        Outcome outcome;
        if (!setUpTreePerhapsInjecting(injection, arguments(), outcome)) {
            break;
        }
        ++met;
        EXPECT_FALSE(outcome.status.terminatedSuccessfully()) << injection;
        const Content found = content();
        EXPECT_TRUE(found == before || found == after) << injection << outcome.output;
        EXPECT_TRUE(upgrade().status.terminatedSuccessfully());
        EXPECT_TRUE(content() == after) << injection;
    }
    EXPECT_GT(met, 0);
}

INSTANTIATE_TEST_SUITE_P(Injections, UpgradeCutShort,
                         ::testing::Values("pwrite64:signal=SIGKILL:when=#",
                                           "pwrite64:error=ENOSPC:when=#+",
                                           "fdatasync,fsync:signal=SIGKILL:when=#",
                                           "unlink,unlinkat:signal=SIGKILL:when=#"),
                         [](const auto& info) { return "Nr" + std::to_string(info.index); });

}  // namespace
}  // namespace KovSetupTest
