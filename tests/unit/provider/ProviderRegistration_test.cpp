// SPDX-License-Identifier: Apache-2.0
//
// Registering: what one provider adds to the repository and the privilege directory, and how the
// undo list removes it.
#include <gmock/gmock.h>

#include "fennik/provider/ProviderModel.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

const char* const RECORD =
    R"(KOV_OOP1Provider.CreationClassName="KOV_OOP1Provider",Name="sample:Disk",ProductName="sample")";
const char* const HIERARCHY = R"(
class Sample_Child : Sample_Parent { string More; };
class Sample_Parent { [Key] string Id; string Text; };
instance of Sample_Child { Id = "c"; Text = "child"; More = "m"; };
instance of Sample_Parent { Id = "p"; };
)";

class ProviderRegistering : public ProviderFixture {
protected:
    String value(const CIMInstance& instance, const char* property) const {
        const CIMValue value = instance.getPropertyValue(property);
        return MOF::toMOF(value);
    }
    CIMInstance record() { return read(m_repository, "kov", RECORD); }

    OpenRepository m_repository{m_tree};
    const std::map<String, String> m_before = m_repository.content();
};

TEST_F(ProviderRegistering, LeastProviderHasOneFileAndThreeInstances) {
    registerList(m_repository, entry("disk", registrationMof("Disk"), ""));
    EXPECT_THAT(
        privilegeFiles(),
        ElementsAre(Pair("owcimomd/oop1-sample_Disk",
                         "user_exec_check_args { /usr/lib/sample/provider  @ owprovdr }\n")));
    std::map<String, String> added = m_repository.content();
    for (const auto& [name, text] : m_before) {
        EXPECT_EQ(added[name], text);
        added.erase(name);
    }
    StringArray names;
    for (const auto& [name, text] : added) {
        names.push_back(name);
    }
    EXPECT_THAT(
        names,
        ElementsAre(String("kov: kov:") + RECORD,
                    R"(kov: kov:KOV_ProductProvider.Product="kov:KOV_Product.Name=\"sample\"",)"
                    R"(Provider="kov:KOV_OOP1Provider.CreationClassName=\"KOV_OOP1Provider\",)"
                    R"(Name=\"sample:Disk\",ProductName=\"sample\"")",
                    R"(root: root:OpenWBEM_OOPProviderRegistration.InstanceID="sample:Disk")"));
}

TEST_F(ProviderRegistering, RecordTellsWhatBelongsToTheProvider) {
    registerList(m_repository, entry("disk", registrationMof("Disk"), ""));
    const CIMInstance made = record();
    EXPECT_EQ(value(made, "CreationClassName"), "\"KOV_OOP1Provider\"");
    EXPECT_EQ(value(made, "Name"), "\"sample:Disk\"");
    EXPECT_EQ(value(made, "ProductName"), "\"sample\"");
    EXPECT_EQ(value(made, "RegistrationInstanceID"), "\"sample:Disk\"");
    EXPECT_EQ(value(made, "RegistrationClassName"), "\"OpenWBEM_OOPProviderRegistration\"");
    // Empty, not NULL: a listing refuses NULL as damage.
    EXPECT_EQ(value(made, "ProviderMofNamespace"), "\"\"");
    EXPECT_EQ(value(made, "ProviderMofInstanceNames"), "{}");
    EXPECT_EQ(value(made, "ProviderMofClassNames"), "{}");
    EXPECT_EQ(value(made, "ProviderMofQualifierTypeNames"), "{}");
    EXPECT_THAT(listed(m_repository),
                ElementsAre("Sample_Disk,root:OpenWBEM_OOPProviderRegistration.InstanceID="
                            "\"sample:Disk\""));
}

TEST_F(ProviderRegistering, RecordNamesWhatTheProviderMofMade) {
    registerList(
        m_repository,
        entry("disk", registrationMof("Disk"),
              providerMof(String("Qualifier Mine : boolean = false, Scope(any);") + HIERARCHY)));
    const CIMInstance made = record();
    EXPECT_EQ(value(made, "ProviderMofNamespace"), "\"sample\"");
    EXPECT_EQ(value(made, "ProviderMofInstanceNames"),
              R"({"sample:Sample_Child.Id=\"c\"", "sample:Sample_Parent.Id=\"p\""})");
    EXPECT_EQ(value(made, "ProviderMofClassNames"), R"({"Sample_Parent", "Sample_Child"})");
    EXPECT_EQ(value(made, "ProviderMofQualifierTypeNames"), R"({"Mine"})");
    EXPECT_EQ(value(read(m_repository, "sample", "Sample_Child.Id=\"c\""), "More"), "\"m\"");
    EXPECT_NO_THROW(m_repository.handle()->getQualifierType("sample", "Mine"));
}

TEST_F(ProviderRegistering, PrivilegeTextBecomesAFileThatTheRegistrationNames) {
    registerList(m_repository, entry("disk", registrationMof("Disk", MONITORED), "", PRIVILEGES));
    EXPECT_THAT(privilegeFiles(),
                ElementsAre(Pair("oop1-sample_Disk", PRIVILEGES),
                            Pair("owcimomd/oop1-sample_Disk",
                                 "monitored_exec_check_args { /usr/lib/sample/provider  @ "
                                 "oop1-sample_Disk }\n")));
    // The path on the installed system, without the prefix.
    EXPECT_EQ(
        read(m_repository, "root", R"(OpenWBEM_OOPProviderRegistration.InstanceID="sample:Disk")")
            .getPropertyValue("MonitorPrivilegesFile")
            .toString(),
        "/etc/opt/tarvo/kov/openwbem/privileges/oop1-sample_Disk");
}

TEST_F(ProviderRegistering, PathOfThePrivilegeFileIsSetOnACopy) {
    ProviderRegistrationFacility facility(m_repository.handle(), "sample", m_tree.prefix(), m_undo);
    const auto records =
        facility.parseInputData(entry("disk", registrationMof("Disk", MONITORED), "", PRIVILEGES));
    records.front()->registerProvider(&facility);
    EXPECT_TRUE(dynamic_cast<const OOP1ProviderRegistration&>(*records.front())
                    .registrationInstance()
                    .getPropertyValue("MonitorPrivilegesFile")
                    .isNull());
}

TEST_F(ProviderRegistering, PathStaysAsItIsWithoutPrivileges) {
    ProviderRegistrationFacility facility(m_repository.handle(), "sample", m_tree.prefix(), m_undo);
    const auto records = facility.parseInputData(entry("disk", registrationMof("Disk"), ""));
    String path = "unchanged";
    facility.createPrivilegeFiles(dynamic_cast<const OOP1ProviderRegistration&>(*records.front()),
                                  path);
    EXPECT_EQ(path, "unchanged");
}

TEST_F(ProviderRegistering, EmptyPrivilegeFileCountsAsNone) {
    String list = entry("disk", registrationMof("Disk"), "");
    writeFile(m_tree.prefix() + "/files/none.priv", "");
    list.insert(list.size() - 1, ",files/none.priv");
    registerList(m_repository, list);
    EXPECT_EQ(privilegeFiles().size(), 1U);
    expectFailure(14, "Instance sample:Disk: UserContext property contains an invalid value: 4",
                  [&] {
                      entry("disk", registrationMof("Disk", MONITORED), "");
                      registerList(m_repository, list);
                  });
}

TEST_F(ProviderRegistering, ProcessBringsItsCapabilities) {
    registerList(m_repository, entry("proc", processWithCapabilitiesMof("Proc"), ""));
    EXPECT_EQ(m_repository.handle()->enumInstancesA("root", "OpenWBEM_OOPProviderProcess").size(),
              1U);
    EXPECT_EQ(
        m_repository.handle()->enumInstancesA("root", "OpenWBEM_OOPProviderCapabilities").size(),
        1U);
    EXPECT_EQ(m_repository.handle()
                  ->enumInstancesA("root", "OpenWBEM_OOPProviderProcessCapabilities")
                  .size(),
              1U);
    EXPECT_THAT(
        listed(m_repository),
        ElementsAre("Sample_Proc,root:OpenWBEM_OOPProviderProcess.InstanceID=\"sample:Proc\""));
}

TEST_F(ProviderRegistering, QualifierTypeThatWasThereIsSetPutBackAndNotListed) {
    const String mof = providerMof(
        "Qualifier Description : string = \"theirs\", Scope(any), Flavor(DisableOverride);\n"
        "Qualifier Mine : boolean = true, Scope(any);\n");
    registerList(m_repository, entry("disk", registrationMof("Disk"), mof));
    EXPECT_EQ(value(record(), "ProviderMofQualifierTypeNames"), R"({"Mine"})");
    EXPECT_THAT(MOF::toMOF(m_repository.handle()->getQualifierType("sample", "description")),
                HasSubstr("\"theirs\""));
    executeCleanupActions(m_undo);
    EXPECT_EQ(m_repository.content(), m_before);
    EXPECT_THAT(m_log.errors(), IsEmpty());
}

TEST_F(ProviderRegistering, UndoTakesEverythingBack) {
    const String list =
        entry("disk", registrationMof("Disk", MONITORED),
              providerMof(String("Qualifier Mine : boolean = false, Scope(any);") + HIERARCHY),
              PRIVILEGES) +
        entry("proc", processWithCapabilitiesMof("Proc"), providerMof(classMof("Proc")));
    registerList(m_repository, list);
    EXPECT_NE(m_repository.content(), m_before);
    executeCleanupActions(m_undo);
    EXPECT_EQ(m_repository.content(), m_before);
    EXPECT_THAT(privilegeFiles(), IsEmpty());
    EXPECT_THAT(m_log.errors(), IsEmpty());
}

TEST_F(ProviderRegistering, EveryChangeHasItsOwnUndo) {
    registerList(
        m_repository,
        entry("disk", registrationMof("Disk", MONITORED),
              providerMof(String("Qualifier Mine : boolean = false, Scope(any);") + HIERARCHY),
              PRIVILEGES));
    // Two files, the registration, a qualifier type, two classes, two instances, the record and
    // its association.
    EXPECT_EQ(m_undo.size(), 10U);
}

TEST_F(ProviderRegistering, InstancesThatReferToEachOtherComeBackByUndo) {
    const String mof = providerMof(R"(
[Association]
class Sample_Link { [Key] string Id; Sample_Link REF Next; Sample_Link REF Before; };
instance of Sample_Link { Id = "a"; Next = "Sample_Link.Id=\"b\""; };
instance of Sample_Link { Id = "b"; Next = "Sample_Link.Id=\"a\""; };
)");
    registerList(m_repository, entry("disk", registrationMof("Disk"), mof));
    const auto registered = m_repository.content();
    m_undo.clear();
    deregisterAll(m_repository);
    EXPECT_EQ(m_repository.content(), m_before);
    executeCleanupActions(m_undo);
    EXPECT_EQ(m_repository.content(), registered);
    EXPECT_THAT(m_log.errors(), IsEmpty());
}

TEST_F(ProviderRegistering, FileThatIsThereStopsTheCommand) {
    writeFile(oopFile("Disk"), "left behind");
    try {
        registerList(m_repository, entry("disk", registrationMof("Disk"), ""));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), 14);
        EXPECT_THAT(e.getMessage(), ::testing::StartsWith("Provider registration failed: "));
        EXPECT_THAT(e.getMessage(),
                    HasSubstr("IOException: 17: createFile(" + oopFile("Disk").string() +
                              ") failed: 17(File exists)"));
        ASSERT_NE(e.getOtherException(), nullptr);
        EXPECT_STREQ(e.getOtherException()->type(), "IOException");
    }
    EXPECT_EQ(readFile(oopFile("Disk")), "left behind");
    EXPECT_EQ(m_repository.content(), m_before);
}

TEST_F(ProviderRegistering, LinkInPlaceOfAPrivilegeFileIsNotFollowed) {
    const String target = m_tree.prefix() + "/target";
    std::filesystem::create_symlink(target, ownFile("Disk"));
    EXPECT_THROW(registerList(m_repository,
                              entry("disk", registrationMof("Disk", MONITORED), "", PRIVILEGES)),
                 FennikException);
    EXPECT_FALSE(std::filesystem::exists(target));
    EXPECT_FALSE(std::filesystem::exists(oopFile("Disk"))) << "the undo removed the first file";
}

TEST_F(ProviderRegistering, HostileIdentifiersDoNoHarm) {
    for (const String id : {"../../../x", "a\\nb", "..", "/etc/passwd", "%1", "\\t"}) {
        SCOPED_TRACE(id);
        registerList(m_repository, entry("disk", registrationMof(id), ""));
        EXPECT_EQ(listed(m_repository).size(), 1U);
        EXPECT_EQ(privilegeFiles().size(), 1U);
        m_undo.clear();
        deregisterAll(m_repository);
        EXPECT_EQ(m_repository.content(), m_before);
        EXPECT_THAT(privilegeFiles(), IsEmpty());
        m_undo.clear();
    }
    try {
        registerList(m_repository, entry("disk", registrationMof(String(5000, 'x')), ""));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FennikException& e) {
        EXPECT_THAT(e.getMessage(), HasSubstr("File name too long"));
    }
    EXPECT_EQ(m_repository.content(), m_before);
}

// Two identifiers may differ only in characters that become underscores.
TEST_F(ProviderRegistering, IdentifiersWithTheSameFileNameAreRefusedByTheFile) {
    const String list =
        entry("a", registrationMof("x y"), "") + entry("b", registrationMof("x_y"), "");
    EXPECT_THROW(registerList(m_repository, list), FennikException);
    EXPECT_EQ(m_repository.content(), m_before);
    EXPECT_THAT(privilegeFiles(), IsEmpty());
}

TEST_F(ProviderRegistering, SameIdentifierTwiceInAListIsTakenBack) {
    const String line = entry("a", registrationMof("Disk"), "");
    EXPECT_THROW(registerList(m_repository, line + line), FennikException);
    EXPECT_EQ(m_repository.content(), m_before);
    EXPECT_THAT(privilegeFiles(), IsEmpty());
}

TEST_F(ProviderRegistering, MissingListIsToldWithItsCode) {
    expectFailure(24, "The specified path /nonexistent/list : does not exist.", [&] {
        RegisterProviders(m_repository.handle(), "sample", "/nonexistent/list", m_tree.prefix(),
                          m_undo);
    });
}

TEST_F(ProviderRegistering, LogsEachStepUnderItsOwnComponent) {
    const String list = entry(
        "disk", registrationMof("Disk", MONITORED),
        providerMof(classMof("Disk") + "instance of Sample_Disk { Id = \"1\"; };"), PRIVILEGES);
    m_log.clear();
    registerList(m_repository, list);
    StringArray lines;
    for (const auto& message : m_log.messages()) {
        if (message.component.starts_with("fennik.")) {
            EXPECT_STREQ(message.file, "FNProviderRegistrationFacility");
            lines.push_back(message.component + ": " + message.text);
        }
    }
    const String p = ": ProviderRegistration: ";
    const String step = "fennik.registerProvider.";
    EXPECT_THAT(
        lines,
        ElementsAre(
            step + "privilegeFiles" + p +
                "Creating ow privileges file for sample:Disk: " + oopFile("Disk").string(),
            step + "privilegeFiles" + p +
                "Creating provider privileges file for sample:Disk: " + ownFile("Disk").string(),
            step + "registrationInstances" + p + "Creating registration instances",
            step + "registrationInstances" + p + "Done creating registration instances",
            step + "nonRegInstances" + p + "Creating class for sample:Disk: Sample_Disk",
            step + "nonRegInstances" + p +
                "Creating instance of class: Sample_Disk for sample:Disk",
            step + "oopRegistrationInstances" + p + "Creating the record of provider sample:Disk"));
    const auto debug = m_log.debugLines();
    EXPECT_EQ(debug[0], "ProviderRegistration: Registering providers for \"sample\" from file \"" +
                            m_tree.prefix() + "/list.txt\"");
    EXPECT_EQ(debug[1], "ProviderRegistration: Provider file contents:\n" + list);
}

TEST_F(ProviderRegistering, GivenRegistrationsAreAdded) {
    registerList(m_repository, entry("a", registrationMof("A"), ""));
    ProviderRegistrationFacility facility(m_repository.handle(), "sample", m_tree.prefix(), m_undo);
    const auto more = facility.parseInputData(entry("b", registrationMof("B"), "") +
                                              entry("c", registrationMof("C"), ""));
    m_log.clear();
    registerProviders(m_repository.handle(), "sample", more, m_undo, m_tree.prefix());
    EXPECT_EQ(listed(m_repository).size(), 3U);
    const auto lines = m_log.debugLines();
    EXPECT_EQ(lines.front(), "ProviderRegistration: Registering 2 providers for \"sample\"");
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "ProviderRegistration: Done registering 2 providers for \"sample\""),
              lines.end());
    executeCleanupActions(m_undo);
    EXPECT_EQ(m_repository.content(), m_before);
    EXPECT_THAT(privilegeFiles(), IsEmpty());
}

// When undo steps fail, the remaining ones still run, and each failure is reported.
TEST_F(ProviderRegistering, UndoThatFailsTellsWhatToDoByHand) {
    registerList(m_repository,
                 entry("disk", registrationMof("Disk"),
                       providerMof(String("Qualifier Mine : boolean = false, Scope(any);") +
                                   classMof("Disk"))));
    for (const char* operation : {"deleteInstance", "deleteClass", "deleteQualifierType"}) {
        m_repository.faults().failOperation(operation);
    }
    std::filesystem::remove(oopFile("Disk"));
    executeCleanupActions(m_undo);
    const String head =
        "The operation failed, and restoration to the previous state has also failed.\n";
    const String leadIn =
        "\nOnce the cause of the error has been resolved, to restore KOV to a valid state you "
        "should\n";
    const StringArray errors = m_log.errors();
    ASSERT_EQ(errors.size(), 6U);
    const auto expected = [&](const String& attempt, const String& remedy) {
        return ::testing::AllOf(::testing::StartsWith(head + attempt), HasSubstr("injected fault"),
                                ::testing::EndsWith(leadIn + remedy + "\n"));
    };
    const String instanceRemedy = "delete the instance. The owdeleteinstance utility can be used.";
    EXPECT_THAT(errors[0], expected("The attempt to delete the instance:\nkov:KOV_ProductProvider.",
                                    instanceRemedy));
    EXPECT_THAT(errors[1], expected(String("The attempt to delete the instance:\nkov:") + RECORD +
                                        "\nin namspace kov failed with error:\n",
                                    instanceRemedy));
    EXPECT_THAT(errors[2],
                expected("The attempt to delete the class sample:Sample_Disk failed with "
                         "error:\n",
                         "delete the class. The owmofc utility can be used."));
    EXPECT_THAT(
        errors[3],
        expected("The attempt to delete the qualifier type sample:Mine failed with error:\n",
                 "delete the qualifier type. The owmofc utility can be used."));
    EXPECT_THAT(
        errors[4],
        expected("The attempt to delete the instance:\nroot:OpenWBEM_OOPProviderRegistration."
                 "InstanceID=\"sample:Disk\"\nin namspace root failed with error:\n",
                 instanceRemedy));
    EXPECT_EQ(errors[5],
              head + "The attempt to delete the file (in restoring things to initial state): " +
                  oopFile("Disk").string() + " failed with error:\nNo such file or directory" +
                  leadIn + "delete the file.");
}

}  // namespace
}  // namespace KOVNS2::Testing
