// SPDX-License-Identifier: Apache-2.0
//
// Rebuilding registration records from the repository and the privilege files.
#include <gmock/gmock.h>

#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int INVALID_INPUT = 14;

class CurrentProviders : public ProviderFixture {
protected:
    OOP1ProviderRegistration only() {
        const auto found =
            GetCurrentProviderRegistrations(m_repository.handle(), "sample", m_tree.prefix());
        EXPECT_EQ(found.size(), 1U);
        return dynamic_cast<const OOP1ProviderRegistration&>(*found.at(0));
    }
    CIMInstance record(const String& name) {
        return read(m_repository, "kov",
                    R"(KOV_OOP1Provider.CreationClassName="KOV_OOP1Provider",Name="sample:)" +
                        name + R"(",ProductName="sample")");
    }
    void change(const CIMInstance& instance) {
        m_repository.handle()->modifyInstance("kov", instance);
    }

    OpenRepository m_repository{m_tree};
};

TEST_F(CurrentProviders, ProductWithoutProvidersHasNone) {
    for (const char* product : {"sample", "never registered", ""}) {
        EXPECT_TRUE(GetCurrentProviderRegistrations(m_repository.handle(), product, m_tree.prefix())
                        .empty());
        EXPECT_THAT(listed(m_repository, product), IsEmpty());
    }
}

TEST_F(CurrentProviders, RecordEqualsTheOneThatWasRegistered) {
    const String line =
        entry("disk", registrationMof("Disk", MONITORED),
              providerMof("Qualifier Mine : boolean = false, Scope(any);\n" + classMof("Disk") +
                          "class Sample_Child : Sample_Disk {};\n"
                          "instance of Sample_Child { Id = \"2\"; Text = NULL; };\n"
                          "instance of Sample_Disk { Id = \"1\"; Text = \"t\"; };\n"),
              PRIVILEGES);
    registerList(m_repository, line);
    ProviderRegistrationFacility facility(m_repository.handle(), "sample", m_tree.prefix(), m_undo);
    const auto parsed = facility.parseInputData(line);
    const auto& wanted = dynamic_cast<const OOP1ProviderRegistration&>(*parsed.front());
    const OOP1ProviderRegistration found = only();

    CIMInstance registration = wanted.registrationInstance();
    registration.setProperty("MonitorPrivilegesFile",
                             CIMValue("/etc/opt/tarvo/kov/openwbem/privileges/oop1-sample_Disk"));
    ASSERT_EQ(found.registrationInstances().size(), 1U);
    EXPECT_EQ(MOF::toMOF(found.registrationInstance()), MOF::toMOF(registration));
    EXPECT_EQ(found.registrationClassName(), wanted.registrationClassName());
    EXPECT_EQ(found.providerMofNamespace(), "sample");
    ASSERT_EQ(found.providerInstances().size(), 2U);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(MOF::toMOF(found.providerInstances()[i]),
                  MOF::toMOF(wanted.providerInstances()[i]));
    }
    ASSERT_EQ(found.providerClasses().size(), 2U);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(MOF::toMOF(found.providerClasses()[i]), MOF::toMOF(wanted.providerClasses()[i]));
    }
    ASSERT_EQ(found.providerQualifiers().size(), 1U);
    EXPECT_EQ(MOF::toMOF(found.providerQualifiers()[0]),
              MOF::toMOF(wanted.providerQualifiers()[0]));
    EXPECT_EQ(found.providerPrivileges(), PRIVILEGES);
    EXPECT_EQ(found.providerOOPPrivileges(), wanted.providerOOPPrivileges());
}

TEST_F(CurrentProviders, ProcessComesWithItsCapabilitiesBeforeTheirAssociations) {
    registerList(m_repository, entry("proc", processWithCapabilitiesMof("Proc"), ""));
    StringArray classes;
    const OOP1ProviderRegistration found = only();
    for (const auto& instance : found.registrationInstances()) {
        classes.push_back(instance.getClassName());
    }
    EXPECT_THAT(classes,
                ElementsAre("OpenWBEM_OOPProviderProcess", "OpenWBEM_OOPProviderCapabilities",
                            "OpenWBEM_OOPProviderProcessCapabilities"));
}

TEST_F(CurrentProviders, ListingFollowsTheOrderOfTheAssociators) {
    String list;
    for (const char* name : {"Zoo", "Ant", "Middle", "b", "B2"}) {
        list += entry(name, registrationMof(name), "");
    }
    registerList(m_repository, list);
    StringArray expected;
    CIMObjectPath product("KOV_Product", "kov");
    product.setKeyValue("Name", CIMValue("sample"));
    for (const auto& provider :
         m_repository.handle()->associatorsA("kov", product, {"KOV_ProductProvider", {}, {}, {}})) {
        const String id = provider.getPropertyValue("Name").toString();
        expected.push_back("Sample_" + id.substr(7) +
                           ",root:OpenWBEM_OOPProviderRegistration.InstanceID=\"" + id + "\"");
    }
    ASSERT_EQ(expected.size(), 5U);
    EXPECT_EQ(listed(m_repository), expected);
    EXPECT_EQ(listed(m_repository), expected);
}

TEST_F(CurrentProviders, LogsWhatIsFound) {
    registerList(m_repository, entry("disk", registrationMof("Disk"), ""));
    m_log.clear();
    listed(m_repository);
    const String p = "ProviderRegistration: ";
    EXPECT_THAT(m_log.debugLines(),
                ElementsAre(p + "Listing providers for \"sample\"",
                            p + "Getting current provider registrations for \"sample\"",
                            p + "Found 1 current provider registrations for \"sample\""));
}

TEST_F(CurrentProviders, MissingValuesAreToldInTheirOrder) {
    registerList(m_repository, entry("disk", registrationMof("Disk"), ""));
    const char* const properties[] = {"ProviderMofQualifierTypeNames", "ProviderMofClassNames",
                                      "ProviderMofInstanceNames", "ProviderMofNamespace"};
    m_undo.clear();
    CIMInstance damaged = record("Disk");
    for (const char* property : properties) {
        damaged.setProperty(property, CIMValue());
        change(damaged);
        expectFailure(INVALID_INPUT, String(property) + " is NULL", [&] { listed(m_repository); });
        expectFailure(INVALID_INPUT, String(property) + " is NULL",
                      [&] { deregisterAll(m_repository); });
    }
}

TEST_F(CurrentProviders, EachMissingValueCarriesItsOwnPlace) {
    registerList(m_repository, entry("disk", registrationMof("Disk"), ""));
    const auto placeWithout = [&](const char* property) {
        CIMInstance damaged = record("Disk");
        damaged.setProperty(property, CIMValue());
        change(damaged);
        return placeOf([&] { listed(m_repository); });
    };
    const auto classes = placeWithout("ProviderMofClassNames");
    const auto instances = placeWithout("ProviderMofInstanceNames");
    EXPECT_EQ(classes.first, "fennik/provider/CurrentProviders.cpp");
    EXPECT_EQ(instances.first, classes.first);
    EXPECT_NE(instances.second, classes.second);
}

TEST_F(CurrentProviders, OtherKindsOfProvidersAreRefused) {
    CIMClass other("KOV_Other");
    other.setSuperClass("KOV_Provider");
    m_repository.handle()->createClass("kov", other);
    CIMInstance instance = m_repository.handle()->getClass("kov", "KOV_Other").newInstance();
    instance.setProperty("CreationClassName", CIMValue("KOV_Other"));
    instance.setProperty("Name", CIMValue("sample:x"));
    instance.setProperty("ProductName", CIMValue("sample"));
    const CIMObjectPath path = m_repository.handle()->createInstance("kov", instance);
    CIMObjectPath product("KOV_Product", "kov");
    product.setKeyValue("Name", CIMValue("sample"));
    CIMInstance association =
        m_repository.handle()->getClass("kov", "KOV_ProductProvider").newInstance();
    association.setProperty("Product", CIMValue(product)).setProperty("Provider", CIMValue(path));
    m_repository.handle()->createInstance("kov", association);

    const String text = MOF::toMOF(m_repository.handle()->getInstance("kov", path));
    expectFailure(INVALID_INPUT, "Unknown KOV_Provider subclass:\n" + text,
                  [&] { listed(m_repository); });
    expectFailure(INVALID_INPUT, "Unknown KOV_Provider subclass:\n" + text,
                  [&] { deregisterAll(m_repository); });
}

TEST_F(CurrentProviders, PrivilegeFilesAreReadAsTheyAreOnTheDisk) {
    registerList(m_repository, entry("disk", registrationMof("Disk", MONITORED), "", PRIVILEGES));
    writeFile(oopFile("Disk"), "edited by hand");
    writeFile(ownFile("Disk"), "and this");
    EXPECT_EQ(only().providerOOPPrivileges(), "edited by hand");
    EXPECT_EQ(only().providerPrivileges(), "and this");
}

TEST_F(CurrentProviders, LinkInPlaceOfAPrivilegeFileIsNotFollowed) {
    registerList(m_repository, entry("disk", registrationMof("Disk", MONITORED), "", PRIVILEGES));
    m_undo.clear();
    for (const auto& file : {oopFile("Disk"), ownFile("Disk")}) {
        const auto moved = file.string() + ".moved";
        std::filesystem::rename(file, moved);
        std::filesystem::create_symlink(moved, file);
        try {
            deregisterAll(m_repository);
            ADD_FAILURE() << "deregistered";
        } catch (const FennikException& e) {
            EXPECT_THAT(e.getMessage(),
                        ::testing::HasSubstr("Cannot read \"" + file.string() +
                                             "\": it is a symbolic link, which is not followed "
                                             "here; put the file itself in its place"));
        }
        EXPECT_TRUE(std::filesystem::is_symlink(file));
        std::filesystem::rename(moved, file);
    }
    deregisterAll(m_repository);
}

TEST_F(CurrentProviders, FileWithoutPrivilegesOfItsOwnIsNotRead) {
    registerList(m_repository, entry("disk", registrationMof("Disk"), ""));
    writeFile(ownFile("Disk"), "not of this provider");
    EXPECT_EQ(only().providerPrivileges(), "");
    deregisterAll(m_repository);
    EXPECT_EQ(readFile(ownFile("Disk")), "not of this provider");
}

}  // namespace
}  // namespace KOVNS2::Testing
