// SPDX-License-Identifier: Apache-2.0
//
// kov-setup refuses a newer schema that would break what is in the repository, and a repository
// that was made to deceive it. Nothing changes then.
#include <gmock/gmock.h>

#include "tests/system/setup/UpgradeTree.hpp"

namespace KovSetupTest {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Breaking {
    const char* name;
    const char* file;
    const char* from;
    const char* to;
    const char* reason;
};

void PrintTo(const Breaking& row, std::ostream* out) {
    *out << row.name;
}

class BreakingChange : public UpgradeTree, public ::testing::WithParamInterface<Breaking> {};

TEST_P(BreakingChange, IsRefusedWithItsReasonAndNothingChanges) {
    const Breaking& row = GetParam();
    addProduct();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    const auto before = snapshot(stage() + "/var");
    edit(row.file, row.from, row.to);
    // Comes before the classes, and must not stay.
    append("qualifiers.mof",
           "Qualifier Newer : string = null, Scope(any), Flavor(EnableOverride);\n");
    append("interop.mof", "class CIM_Base {};\n");
    const Outcome outcome = upgrade();
    EXPECT_EQ(outcome.status.toString(), "exited with status 1");
    EXPECT_THAT(outcome.output,
                StartsWith("kov-setup: error: the repository \"" + repository() +
                           "\" cannot be brought up to date with the schema of this version, and "
                           "nothing was changed in it: "));
    EXPECT_THAT(outcome.output, HasSubstr(row.reason));
    EXPECT_THAT(outcome.output, HasSubstr(". Remove what stands in the way and run kov-setup "
                                          "again, or install the former version again\n"));
    EXPECT_TRUE(snapshot(stage() + "/var") == before);
}

INSTANTIATE_TEST_SUITE_P(
    Changes, BreakingChange,
    ::testing::Values(
        Breaking{"RemovedPropertyThatInstancesHave", "kov.mof", "string Usernames[];", "uint8 x;",
                 "cannot change the class \"KOV_Product\" in the namespace \"kov\": the change "
                 "would make instances of class KOV_Product invalid: they have the property "
                 "\"Usernames\""},
        Breaking{"ChangedType", "kov.mof", "string Usernames[];", "uint8 Usernames[];",
                 "another type of the property \"Usernames\""},
        Breaking{"AddedKey", "kov.mof", "string Usernames[];",
                 "string Usernames[]; [Key] string Version;", "another key property \"Version\""},
        Breaking{"KeyThatIsNoneAnyMore", "kov.mof",
                 "[Key, Description (\n        \"The product's name",
                 "[Description (\n        "
                 "\"The product's name",
                 "class"},
        Breaking{"OtherKindOfClass", "kov.mof", "[Description (\n    \"A software package",
                 "[Abstract, Description (\n    "
                 "\"A software package",
                 "another kind of class \"KOV_Product\""},
        Breaking{"OtherSuperclass", "interop.mof", "class OpenWBEM_OOPProviderProcess {",
                 "class OpenWBEM_OOPProviderProcess : CIM_Base {",
                 "the superclass of OpenWBEM_OOPProviderProcess cannot change: it has subclasses"},
        Breaking{"PropertyThatASubclassOfAProductHasInAnotherForm", "interop.mof",
                 "[Description (\n        \"A class that stands for the process",
                 "uint8 Extra; [Description (\n        \"A class that stands for the process",
                 "the change would make the subclass Sample_Process invalid"},
        Breaking{
            "QualifierTypeThatAProductUsesInAnotherForm", "qualifiers.mof",
            "Qualifier Units : string", "Qualifier Units : uint32",
            "the qualifier type \"Units\" cannot be replaced by that one: class Sample_Process "
            "uses it"}),
    [](const auto& info) { return blocxx::String(info.param.name); });

using HostileRepository = UpgradeTree;

TEST_F(HostileRepository, NamesInItDoNotReachTheTerminalUnescaped) {
    store("kov", "instance of KOV_ReservedNamespace { Name = \"a\\n\\x1b[2Jb\"; };");
    store("kov", "instance of KOV_ReservedNamespace { Name = \"\"; };");
    EXPECT_EQ(upgrade().output, ready());
}

TEST_F(HostileRepository, ReservationThatNamesAnInstallationsNamespaceChangesNothingMore) {
    store("kov", "instance of KOV_ReservedNamespace { Name = \"ROOT\"; };");
    editAll();
    ASSERT_TRUE(upgrade().status.terminatedSuccessfully());
    EXPECT_EQ(upgrade().output, ready());
}

TEST_F(HostileRepository, ReservationsOfAnotherFormAreLeftOut) {
    {
        const OpenWBEM::OpenRepository opened(repository());
        opened->deleteClass("kov", "KOV_ProductReservedNamespace");
        opened->deleteClass("kov", "KOV_ReservedNamespace");
        opened.repository().close();
    }
    store("kov",
          "class KOV_ReservedNamespace { [Key] uint8 Other; };"
          "instance of KOV_ReservedNamespace { Other = 1; };");
    const Content before = content();
    const Outcome outcome = upgrade();
    EXPECT_EQ(outcome.status.toString(), "exited with status 1");
    EXPECT_THAT(outcome.output, HasSubstr("cannot change the class \"KOV_ReservedNamespace\""));
    EXPECT_TRUE(content() == before);
}

}  // namespace
}  // namespace KovSetupTest
