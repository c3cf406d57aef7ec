// SPDX-License-Identifier: Apache-2.0
//
// Which differences between a schema and a repository are found, in which order, and how they are
// named. upgrade_test.cpp shows what comes of them.
#include "utilities/kov-setup/SchemaUpgrade.hpp"

#include <gmock/gmock.h>

#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using KovSetup::Difference;
using KovSetup::Schema;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const String QUALIFIERS =
    "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);\n"
    "Qualifier Text : string = null, Scope(any), Flavor(EnableOverride);\n";

class SchemaUpgradeTest : public RepositoryTest {
protected:
    static Schema schema(const String& mof, const String& ns = "kov") {
        return MOF::compile({"MOF", QUALIFIERS + mof}, {}, ns, {});
    }
    StringArray differences(const Schema& wanted) {
        StringArray names;
        for (const Difference& difference : KovSetup::findDifferences(*m_opened, wanted)) {
            names.push_back((difference.isMissing ? "+ " : "! ") + difference.toString());
        }
        return names;
    }
    void bringIn(const Schema& wanted) {
        KovSetup::bringIn(*m_opened, KovSetup::findDifferences(*m_opened, wanted));
    }

    OpenRepository m_opened{m_directory.path()};
};

TEST_F(SchemaUpgradeTest, EmptyRepositoryLacksAll) {
    EXPECT_THAT(differences(schema("class B : A {}; class A { [Key] string k; };")),
                ElementsAre("+ the namespace \"kov\"",
                            "+ the qualifier type \"Key\" in the namespace \"kov\"",
                            "+ the qualifier type \"Text\" in the namespace \"kov\"",
                            "+ the class \"A\" in the namespace \"kov\"",
                            "+ the class \"B\" in the namespace \"kov\""));
}

TEST_F(SchemaUpgradeTest, WhatWasBroughtInDoesNotDiffer) {
    const Schema wanted = schema(
        "[Text (\"t\")] class A { [Key] string k; uint8 n[] = {1, 2}; uint8 m([Text (\"p\")] "
        "string "
        "a); };"
        "class B : A { real32 r = 1.5; datetime d; };"
        "Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride);"
        "[Association] class C { [Key] A REF a; [Key] B REF b; };");
    bringIn(wanted);
    EXPECT_THAT(differences(wanted), IsEmpty());
}

TEST_F(SchemaUpgradeTest, OrderAndSpellingOfNamesAreNoDifferences) {
    bringIn(schema("class A { [Key] string k; uint8 n; };"));
    EXPECT_THAT(differences(schema("class a { uint8 N; [key] string K; };")), IsEmpty());
}

TEST_F(SchemaUpgradeTest, WhatOnlyTheRepositoryHasIsNoDifference) {
    bringIn(
        schema("class A { [Key] string k; }; class Other : A { uint8 n; };"
               "Qualifier Own : string = null, Scope(any), Flavor(EnableOverride);"));
    EXPECT_THAT(differences(schema("class A { [Key] string k; };")), IsEmpty());
}

TEST_F(SchemaUpgradeTest, EachOtherFormOfAClassDiffers) {
    bringIn(schema("class A { [Key] string k; uint8 n = 1; uint8 m(string a); };"));
    for (const char* mof : {"class A { [Key] string k; uint8 n = 2; uint8 m(string a); };",
                            "class A { [Key] string k; uint8 n; uint8 m(string a); };",
                            "class A { [Key] string k; uint16 n = 1; uint8 m(string a); };",
                            "class A { string k; uint8 n = 1; uint8 m(string a); };",
                            "[Text (\"t\")] class A { [Key] string k; uint8 n = 1; uint8 m(string "
                            "a); };",
                            "class A { [Key] string k; uint8 n = 1; uint8 m(string b); };",
                            "class A { [Key] string k; uint8 n = 1; };",
                            "class A { [Key] string k; uint8 n = 1; uint8 x; uint8 m(string a); "
                            "};"}) {
        EXPECT_THAT(differences(schema(mof)),
                    ElementsAre("! the class \"A\" in the namespace \"kov\""))
            << mof;
    }
}

TEST_F(SchemaUpgradeTest, OnlyTheNamespaceWithTheReservationsLeadsToOthers) {
    const String reserved = "class KOV_ReservedNamespace { [Key] string Name; };";
    m_opened->createNameSpace("sample");
    for (const char* ns : {"kov", "root"}) {
        bringIn(schema(reserved, ns));
        CIMInstance instance("KOV_ReservedNamespace");
        instance.setProperty("Name", CIMValue(String("sample")));
        m_opened->createInstance(ns, instance);
    }
    EXPECT_THAT(differences(schema(reserved, "root")), IsEmpty());
    EXPECT_THAT(differences(schema(reserved)),
                ElementsAre("+ the qualifier type \"Key\" in the namespace \"sample\"",
                            "+ the qualifier type \"Text\" in the namespace \"sample\""));
}

}  // namespace
}  // namespace KovTest
