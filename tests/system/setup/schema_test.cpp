// SPDX-License-Identifier: Apache-2.0
//
// A new repository has the schema that the tool and the object manager need.
#include <gmock/gmock.h>

#include "tests/system/setup/SetupTree.hpp"

namespace KovSetupTest {
namespace {

using OpenWBEM::CIMClass;
using OpenWBEM::CIMOMHandleIFC;
using ::testing::UnorderedElementsAreArray;

/// A class and the MOF types of its properties, keys first.
struct ClassRow {
    const char* nameSpace;
    const char* name;
    StringArray keys;
    StringArray others;
};

void PrintTo(const ClassRow& row, std::ostream* out) {
    *out << row.name;
}

class Schema : public SetupTree {
protected:
    void SetUp() override {
        const Outcome outcome = setUpTree();
        ASSERT_TRUE(outcome.status.terminatedSuccessfully()) << outcome.output;
    }
};

class SchemaClass : public Schema, public ::testing::WithParamInterface<ClassRow> {};

String typeName(const OpenWBEM::CIMDataType& type) {
    return type.toString() + (type.isArray() ? "[]" : "");
}

StringArray propertiesOf(const CIMClass& cls, bool keys) {
    StringArray names;
    for (const auto& property : cls.getProperties()) {
        if (property.isKey() == keys) {
            names.push_back(typeName(property.getDataType()) + " " + property.getName());
        }
    }
    return names;
}

TEST_P(SchemaClass, HasItsKeysAndProperties) {
    const ClassRow& row = GetParam();
    withRepository([&](CIMOMHandleIFC& handle) {
        const CIMClass cls = handle.getClass(row.nameSpace, row.name);
        EXPECT_THAT(propertiesOf(cls, true), UnorderedElementsAreArray(row.keys));
        EXPECT_THAT(propertiesOf(cls, false), UnorderedElementsAreArray(row.others));
        EXPECT_TRUE(cls.getQualifier("Description")) << "it does not say what it is";
    });
}

INSTANTIATE_TEST_SUITE_P(
    Classes, SchemaClass,
    ::testing::Values(
        ClassRow{"kov", "KOV_Product", {"string Name"}, {"string[] Usernames"}},
        ClassRow{"kov", "KOV_ReservedNamespace", {"string Name"}, {}},
        ClassRow{"kov",
                 "KOV_ProductReservedNamespace",
                 {"KOV_Product REF Product", "KOV_ReservedNamespace REF ReservedNamespace"},
                 {}},
        ClassRow{"kov",
                 "KOV_Provider",
                 {"string CreationClassName", "string Name", "string ProductName"},
                 {}},
        ClassRow{"kov",
                 "KOV_OOP1Provider",
                 {"string CreationClassName", "string Name", "string ProductName"},
                 {"string RegistrationInstanceID", "string RegistrationClassName",
                  "string ProviderMofNamespace", "string[] ProviderMofInstanceNames",
                  "string[] ProviderMofClassNames", "string[] ProviderMofQualifierTypeNames"}},
        ClassRow{"kov",
                 "KOV_ProductProvider",
                 {"KOV_Product REF Product", "KOV_Provider REF Provider"},
                 {}},
        ClassRow{"root/security",
                 "OpenWBEM_UserACL",
                 {"string nspace", "string username"},
                 {"string capability"}},
        ClassRow{"root",
                 "OpenWBEM_OOPProviderRegistration",
                 {"string InstanceID"},
                 {"string Process", "string[] Args", "string Protocol", "string ClassName",
                  "string[] NamespaceNames", "uint16[] ProviderTypes",
                  "string[] IndicationExportHandlerClassNames", "uint16 UserContext",
                  "string MonitorPrivilegesFile"}},
        ClassRow{"root",
                 "OpenWBEM_OOPProviderProcess",
                 {"string InstanceID"},
                 {"string Process", "string[] Args", "string Protocol", "string ClassName",
                  "uint16 UserContext", "string MonitorPrivilegesFile"}},
        ClassRow{"root",
                 "OpenWBEM_OOPProviderCapabilities",
                 {"string InstanceID"},
                 {"string ClassName", "string[] NamespaceNames", "uint16[] ProviderTypes",
                  "string[] IndicationExportHandlerClassNames"}},
        ClassRow{"root",
                 "OpenWBEM_OOPProviderProcessCapabilities",
                 {"OpenWBEM_OOPProviderProcess REF ManagedElement",
                  "OpenWBEM_OOPProviderCapabilities REF Capabilities"},
                 {}},
        ClassRow{"root",
                 "CIM_Namespace",
                 {"string SystemCreationClassName", "string SystemName",
                  "string ObjectManagerCreationClassName", "string ObjectManagerName",
                  "string CreationClassName", "string Name"},
                 {"string Caption", "string Description", "string ElementName", "uint16 ClassInfo",
                  "string DescriptionOfClassInfo", "uint16 ClassType", "string ClassTypeVersion",
                  "string DescriptionOfClassType"}},
        ClassRow{"root",
                 "CIM_ObjectManager",
                 {"string SystemCreationClassName", "string SystemName", "string CreationClassName",
                  "string Name"},
                 {"string Caption", "string Description", "string ElementName",
                  "boolean GatherStatisticalData"}},
        ClassRow{"root",
                 "CIM_RegisteredProfile",
                 {"string InstanceID"},
                 {"string Caption", "string Description", "string ElementName",
                  "uint16 RegisteredOrganization", "string OtherRegisteredOrganization",
                  "string RegisteredName", "string RegisteredVersion", "uint16[] AdvertiseTypes",
                  "string[] AdvertiseTypeDescriptions"}}),
    [](const auto& info) { return String(info.param.name); });

TEST_F(Schema, HasNoOtherClasses) {
    withRepository([](CIMOMHandleIFC& handle) {
        EXPECT_EQ(handle.enumClassNamesA("kov", "", OpenWBEM::E_DEEP).size(), 6U);
        EXPECT_EQ(handle.enumClassNamesA("root/security", "", OpenWBEM::E_DEEP).size(), 1U);
        EXPECT_EQ(handle.enumClassNamesA("root", "", OpenWBEM::E_DEEP).size(), 7U);
    });
}

TEST_F(Schema, KindsOfClassesAreMarked) {
    withRepository([](CIMOMHandleIFC& handle) {
        for (const char* association : {"KOV_ProductReservedNamespace", "KOV_ProductProvider"}) {
            EXPECT_TRUE(handle.getClass("kov", association).isAssociation()) << association;
        }
        EXPECT_TRUE(
            handle.getClass("root", "OpenWBEM_OOPProviderProcessCapabilities").isAssociation());
        EXPECT_TRUE(handle.getClass("kov", "KOV_Provider").isAbstract());
        EXPECT_FALSE(handle.getClass("kov", "KOV_OOP1Provider").isAbstract());
        EXPECT_EQ(handle.getClass("kov", "KOV_OOP1Provider").getSuperClass(), "KOV_Provider");
    });
}

TEST_F(Schema, EveryNamespaceHasTheSameStandardQualifiers) {
    withRepository([](CIMOMHandleIFC& handle) {
        std::map<String, OpenWBEM::CIMQualifierType> first;
        for (const char* ns : {"root", "root/security", "kov"}) {
            std::map<String, OpenWBEM::CIMQualifierType> all;
            auto collect = OpenWBEM::makeResultHandler<OpenWBEM::CIMQualifierType>(
                [&](const OpenWBEM::CIMQualifierType& type) { all[type.getName()] = type; });
            handle.enumQualifierTypes(ns, collect);
            EXPECT_EQ(all.size(), 74U) << ns;
            if (first.empty()) {
                first = all;
            }
            EXPECT_TRUE(all == first) << ns;
        }
    });
}

struct QualifierRow {
    const char* name;
    const char* type;
    unsigned scopes;
    OpenWBEM::CIMFlavor flavor;
};

void PrintTo(const QualifierRow& row, std::ostream* out) {
    *out << row.name;
}

class StandardQualifier : public Schema, public ::testing::WithParamInterface<QualifierRow> {};

// One of each kind that DSP0004 5.6 distinguishes.
TEST_P(StandardQualifier, HasTheTypeScopeAndFlavorOfTheStandard) {
    const QualifierRow& row = GetParam();
    withRepository([&](CIMOMHandleIFC& handle) {
        const auto type = handle.getQualifierType("kov", row.name);
        EXPECT_EQ(typeName(type.getDataType()), row.type);
        EXPECT_EQ(unsigned{type.getScopes()}, row.scopes);
        EXPECT_TRUE(type.getFlavor() == row.flavor);
    });
}

namespace Scope = OpenWBEM::CIMScope;

INSTANTIATE_TEST_SUITE_P(
    Qualifiers, StandardQualifier,
    ::testing::Values(
        QualifierRow{"Association", "boolean", Scope::ASSOCIATION, {false, true, false}},
        QualifierRow{"Key", "boolean", Scope::PROPERTY | Scope::REFERENCE, {false, true, false}},
        QualifierRow{"Abstract",
                     "boolean",
                     Scope::CLASS | Scope::ASSOCIATION | Scope::INDICATION,
                     {true, false, false}},
        QualifierRow{"Description", "string", Scope::ANY, {true, true, true}},
        QualifierRow{"In", "boolean", Scope::PARAMETER, {false, true, false}},
        QualifierRow{"MaxLen",
                     "uint32",
                     Scope::PROPERTY | Scope::METHOD | Scope::PARAMETER,
                     {true, true, false}},
        QualifierRow{"Override",
                     "string",
                     Scope::PROPERTY | Scope::REFERENCE | Scope::METHOD,
                     {true, false, false}},
        QualifierRow{"Values",
                     "string[]",
                     Scope::PROPERTY | Scope::METHOD | Scope::PARAMETER,
                     {true, true, true}}),
    [](const auto& info) { return String(info.param.name); });

}  // namespace
}  // namespace KovSetupTest
