// SPDX-License-Identifier: Apache-2.0
//
// Compiling and checking the files of a list's entry before anything changes.
#include <gmock/gmock.h>

#include <set>

#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr int NAMESPACE_IN_REGISTRATION_MOF = 4;
constexpr int INVALID_INPUT = 14;
constexpr int COMPILER_ERROR = 33;

class ProviderMof : public ProviderFixture {
protected:
    ProviderMof() : m_before(m_repository.content()) {}
    ~ProviderMof() override {
        EXPECT_EQ(m_repository.content(), m_before) << "checking changes nothing";
        EXPECT_TRUE(m_undo.empty());
    }

    void refuse(const String& regMof, const String& message, int code = INVALID_INPUT) {
        SCOPED_TRACE(regMof);
        expectFailure(code, message, [&] {
            m_facility.buildInstancesForOOPRegistration(
                regMof, "PATH", ProviderRegistrationFacility::E_NOT_MONITORED);
        });
    }

    void refuseProvider(const String& mof, const String& message, int code = INVALID_INPUT) {
        SCOPED_TRACE(mof);
        expectFailure(code, message, [&] { m_facility.buildInstancesForOOPProvider(mof, "PATH"); });
    }

    ProviderRegistrationRef create(const String& regMof, const String& provMof,
                                   const String& privileges = String(),
                                   const String& oopPrivileges = String()) {
        return m_facility.createOOP1ProviderRegistrationFromString(regMof, provMof, privileges,
                                                                   oopPrivileges, "P1", "P2", "P3");
    }

    /// The generated text that lets the agent start the provider.
    String startPrivileges(const String& regMof, const String& privileges) {
        const auto record = create(regMof, "", privileges);
        return dynamic_cast<const OOP1ProviderRegistration&>(*record).providerOOPPrivileges();
    }

    OpenRepository m_repository{m_tree};
    const std::map<String, String> m_before;
    ProviderRegistrationFacility m_facility{m_repository.handle(), "sample", m_tree.prefix(),
                                            m_undo};
};

TEST_F(ProviderMof, RegistrationStandsAlone) {
    const auto compiled = m_facility.buildInstancesForOOPRegistration(
        registrationMof("Disk"), "PATH", ProviderRegistrationFacility::E_NOT_MONITORED);
    ASSERT_EQ(compiled.instances.size(), 1U);
    EXPECT_EQ(compiled.registrationInstance, compiled.instances.front());
    EXPECT_TRUE(compiled.classes.empty());
    EXPECT_TRUE(compiled.qualifierTypes.empty());
}

TEST_F(ProviderMof, ProcessMayBeFollowedByOtherInstances) {
    const auto compiled = m_facility.buildInstancesForOOPRegistration(
        processWithCapabilitiesMof("Proc"), "PATH", ProviderRegistrationFacility::E_NOT_MONITORED);
    ASSERT_EQ(compiled.instances.size(), 3U);
    EXPECT_EQ(compiled.registrationInstance.getClassName(), "OpenWBEM_OOPProviderProcess");
}

TEST_F(ProviderMof, RegistrationMofMayHoldClasses) {
    const auto compiled = m_facility.buildInstancesForOOPRegistration(
        classMof("Extra") + registrationMof("Disk"), "PATH",
        ProviderRegistrationFacility::E_NOT_MONITORED);
    EXPECT_EQ(compiled.classes.size(), 1U);
}

TEST_F(ProviderMof, NamespacePragmaInARegistrationMofIsRefused) {
    for (const char* pragma :
         {"#pragma namespace(\"sample\")", " \t #pragma \t namespace(\"root\") // x",
          "// first\n\t#pragma namespace(\"a\")", "/*\n#pragma namespace(\"x y\")\n*/"}) {
        refuse(String(pragma) + "\n" + registrationMof("Disk"),
               "PATH must not contain #pragma namespace", NAMESPACE_IN_REGISTRATION_MOF);
        refuse(registrationMof("Disk") + "\n" + pragma, "PATH must not contain #pragma namespace",
               NAMESPACE_IN_REGISTRATION_MOF);
    }
}

TEST_F(ProviderMof, TextThatOnlyResemblesThePragmaIsNone) {
    for (const char* text :
         {"// #pragma namespace(\"sample\")", "/* x */ /* #pragma namespace(\"sample\") */",
          "//\n//#pragma namespace(\"sample\")", "/*\n#pragma namespace (\"sample\")\n*/",
          "/*\n#pragma namespace(\"\")\n*/", "/*\n#pragma\nnamespace(\"sample\")\n*/",
          "/*\n#Pragma namespace(\"sample\")\n*/", "/*\n#pragma namespace(\"sample)\n*/"}) {
        SCOPED_TRACE(text);
        EXPECT_NO_THROW(m_facility.buildInstancesForOOPRegistration(
            String(text) + "\n" + registrationMof("Disk"), "PATH",
            ProviderRegistrationFacility::E_NOT_MONITORED));
    }
}

TEST_F(ProviderMof, CompilerErrorsAreToldWithThePath) {
    for (const bool ofProvider : {false, true}) {
        try {
            if (ofProvider) {
                m_facility.buildInstancesForOOPProvider(providerMof("class ;"), "PATH");
            } else {
                m_facility.buildInstancesForOOPRegistration(
                    "instance of Nothing {};", "PATH",
                    ProviderRegistrationFacility::E_NOT_MONITORED);
            }
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), COMPILER_ERROR);
            EXPECT_THAT(e.getMessage(),
                        StartsWith(String("MOF Compiler exception compiling PATH.  Error: ") +
                                   (ofProvider ? "provider MOF:2:" : "registration MOF:1:")));
        }
    }
}

TEST_F(ProviderMof, RegistrationMofRefusals) {
    const String qualifier = "Qualifier Mine : boolean = false, Scope(any);\n";
    refuse(qualifier + registrationMof("Disk"), "PATH cannot contain qualifier types.");
    refuse("",
           "Provider Registration requires an OOP Registration instance.  PATH has no instances.");
    refuse(classMof("Alone"),
           "Provider Registration requires an OOP Registration instance.  PATH has no instances.");
    refuse(registrationMof("A") + registrationMof("B"),
           "\"ProviderRegistration\" types must contain only that instance.  PATH has 2.");
    refuse(registrationMof("A") + processMof("B") + processMof("C"),
           "\"ProviderRegistration\" types must contain only that instance.  PATH has 3.");
    const String capabilities =
        instanceMof("OpenWBEM_OOPProviderCapabilities", {{"InstanceID", "\"sample:caps\""}});
    refuse(registrationMof("A") + capabilities,
           "\"ProviderRegistration\" types must contain only that instance.  PATH has 2.");
    for (const String& rest : {String(), processMof("A"), registrationMof("A")}) {
        refuse(capabilities + rest,
               "PATH must contain only one instance of interop's provider registration, and it "
               "must lead the list.");
    }
    for (const String& second : {processMof("B"), registrationMof("B")}) {
        refuse(processMof("A") + second,
               "PATH must contain only one instance of interop's provider registration.");
        refuse(processMof("A") + capabilities + second,
               "PATH must contain only one instance of interop's provider registration.");
    }
}

TEST_F(ProviderMof, EachRefusalCarriesItsOwnPlace) {
    std::set<int> lines;
    for (const char* mof : {"class X {};", "#pragma namespace(\"other\")\n",
                            "#pragma namespace(\"sample\")\n#pragma namespace(\"sample\")\n",
                            "#pragma namespace(\"sample\")\nbroken"}) {
        const auto [file, line] =
            placeOf([&] { m_facility.buildInstancesForOOPProvider(mof, "PATH"); });
        EXPECT_EQ(file, "fennik/provider/ProviderMof.cpp");
        EXPECT_TRUE(lines.insert(line).second) << mof;
    }
}

TEST_F(ProviderMof, FirstBrokenRuleOfARegistrationMofIsTold) {
    const String pragma = "#pragma namespace(\"x\")\n";
    const String qualifier = "Qualifier Mine : boolean = false, Scope(any);\n";
    refuse(pragma + "class ;", "PATH must not contain #pragma namespace",
           NAMESPACE_IN_REGISTRATION_MOF);
    refuse(qualifier, "PATH cannot contain qualifier types.");
    refuse(qualifier + registrationMof("A") + registrationMof("B"),
           "PATH cannot contain qualifier types.");
    const MofProperties wrong{{"Protocol", "\"other\""}};
    refuse(registrationMof("A", wrong) + processMof("B"),
           "\"ProviderRegistration\" types must contain only that instance.  PATH has 2.");
    // The first instance is checked before those after it.
    refuse(processMof("A", wrong) + processMof("B"),
           "Instance sample:A: Protocol property must be owcpp1");
}

TEST_F(ProviderMof, OnlyOneValidationPerRegistration) {
    class Facility : public ProviderRegistrationFacility {
    public:
        using ProviderRegistrationFacility::ProviderRegistrationFacility;
        void validateOOP1ProviderRegistration(const CIMInstance& instance,
                                              EMonitoredFlag monitored) override {
            m_calls.push_back(instance.getPropertyValue("InstanceID").toString() +
                              (monitored == E_MONITORED ? " monitored" : " not monitored"));
        }
        StringArray m_calls;
    };
    EXPECT_EQ(ProviderRegistrationFacility::E_MONITORED, 0);
    EXPECT_EQ(ProviderRegistrationFacility::E_NOT_MONITORED, 1);
    Facility facility(m_repository.handle(), "sample", m_tree.prefix(), m_undo);
    facility.createOOP1ProviderRegistrationFromString(processWithCapabilitiesMof("Proc"), "", "",
                                                      "", "", "", "");
    facility.createOOP1ProviderRegistrationFromString(registrationMof("Disk"), "", PRIVILEGES, "",
                                                      "", "", "");
    EXPECT_THAT(facility.m_calls,
                ::testing::ElementsAre("sample:Proc not monitored", "sample:Disk monitored"));
}

TEST_F(ProviderMof, EmptyProviderMofHasNoNamespace) {
    m_log.clear();
    const auto compiled = m_facility.buildInstancesForOOPProvider("", "PATH");
    EXPECT_EQ(compiled.nameSpace, "");
    EXPECT_TRUE(compiled.instances.empty() && compiled.classes.empty() &&
                compiled.qualifierTypes.empty());
    EXPECT_THAT(
        m_log.debugLines(),
        ::testing::ElementsAre("ProviderRegistration: Building OOP provider instances from PATH",
                               "ProviderRegistration: No MOF to compile"));
}

TEST_F(ProviderMof, ProviderMofIsCompiledInItsNamespace) {
    m_log.clear();
    const auto compiled = m_facility.buildInstancesForOOPProvider(
        "Qualifier Mine : boolean = false, Scope(any);\n \t#pragma  namespace(\"sample/two\")\n" +
            classMof("Disk") + "instance of Sample_Disk { Id = \"1\"; };\n",
        "PATH");
    EXPECT_EQ(compiled.nameSpace, "sample/two");
    EXPECT_EQ(compiled.instances.size(), 1U);
    EXPECT_EQ(compiled.classes.size(), 1U);
    EXPECT_EQ(compiled.qualifierTypes.size(), 1U);
    EXPECT_EQ(m_log.debugLines().front(),
              "ProviderRegistration: Building OOP provider instances from PATH");
    EXPECT_EQ(m_log.debugLines().back(),
              "ProviderRegistration: Found 1 provider instances and 1 classes");
}

TEST_F(ProviderMof, ProviderMofRefusals) {
    refuseProvider("\n", "PATH must contain a #pragma namespace");
    refuseProvider(classMof("Disk"), "PATH must contain a #pragma namespace");
    refuseProvider("#pragma namespace(\"\")\n", "PATH must contain a #pragma namespace");
    refuseProvider("// #pragma namespace(\"sample\")\n", "PATH must contain a #pragma namespace");
    for (const char* ns : {"other", "SAMPLE", "sample/three", "sample/", "sample ", "root"}) {
        refuseProvider(String("#pragma namespace(\"") + ns + "\")\n",
                       String("PATH uses a namespace (") + ns + ") that is not registered");
    }
    refuseProvider(providerMof("#pragma namespace(\"sample\")\n"),
                   "PATH must contain only one #pragma namespace");
    refuseProvider(providerMof(classMof("Disk") + "\t #pragma\tnamespace(\"sample/two\")"),
                   "PATH must contain only one #pragma namespace");
}

TEST_F(ProviderMof, FirstBrokenRuleOfAProviderMofIsTold) {
    refuseProvider("class ;", "PATH must contain a #pragma namespace");
    refuseProvider("#pragma namespace(\"x\")\n#pragma namespace(\"y\")\nclass ;",
                   "PATH uses a namespace (x) that is not registered");
    refuseProvider(providerMof("#pragma namespace(\"y\")\nclass ;"),
                   "PATH must contain only one #pragma namespace");
}

// A second pragma on one line is not at the beginning of the line, but the search goes on after the
// first match, and "^" matches there.
TEST_F(ProviderMof, SecondPragmaOnTheLineOfTheFirst) {
    refuseProvider("#pragma namespace(\"sample\")#pragma namespace(\"sample\")\n",
                   "PATH must contain only one #pragma namespace");
    refuseProvider("#pragma namespace(\"sample\") \t#pragma namespace(\"sample\")\n",
                   "PATH must contain only one #pragma namespace");
}

TEST_F(ProviderMof, MessagesCrossThePathsOfThePrivilegesAndTheProviderMof) {
    expectFailure(INVALID_INPUT, "P1 cannot contain qualifier types.",
                  [&] { create("Qualifier Mine : boolean = false, Scope(any);", ""); });
    expectFailure(INVALID_INPUT, "P2 must contain a #pragma namespace",
                  [&] { create(registrationMof("Disk"), "x"); });
    expectFailure(
        INVALID_INPUT,
        "P3 includes a non-existent file: " + (m_tree.privilegeDirectory() / "none").string(),
        [&] { create(registrationMof("Disk", MONITORED), "", "include { none }"); });
}

TEST_F(ProviderMof, ListedEntryNamesThePrivilegeFileForItsProviderMof) {
    const String files = m_tree.prefix() + "/files/";
    expectFailure(INVALID_INPUT, m_tree.prefix() + "/ must contain a #pragma namespace", [&] {
        m_facility.parseInputData(entry("a", registrationMof("Disk"), "// nothing"));
    });
    expectFailure(INVALID_INPUT, files + "a.priv must contain a #pragma namespace", [&] {
        m_facility.parseInputData(
            entry("a", registrationMof("Disk", MONITORED), "// nothing", PRIVILEGES));
    });
    expectFailure(INVALID_INPUT, "Invalid privileges: unpriv_user not specified", [&] {
        m_facility.parseInputData(entry("a", registrationMof("Disk", MONITORED), "", "# nobody\n"));
    });
    try {
        m_facility.parseInputData(entry("a", registrationMof("Disk", MONITORED), "", "oops\n"));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FennikException& e) {
        EXPECT_THAT(e.getMessage(),
                    StartsWith("Parsing " + m_tree.prefix() + "//files/a.mof failed at column "));
    }
}

TEST_F(ProviderMof, PartsAreCheckedInTheirOrder) {
    const String badRegistration = registrationMof("Disk", {{"Protocol", "\"x\""}});
    expectFailure(INVALID_INPUT, "Instance sample:Disk: Protocol property must be owcpp1",
                  [&] { create(badRegistration, "no pragma", "oops"); });
    expectFailure(INVALID_INPUT, "P2 must contain a #pragma namespace",
                  [&] { create(registrationMof("Disk", MONITORED), "no pragma", "oops"); });
}

TEST_F(ProviderMof, BadEntryBehindGoodOnesChangesNothing) {
    const String good = entry("good", registrationMof("Good"), "");
    expectFailure(INVALID_INPUT, "Invalid provider type: oop2",
                  [&] { m_facility.registerProviders(good + "oop2,a,b\n"); });
    EXPECT_TRUE(privilegeFiles().empty());
}

TEST_F(ProviderMof, ClassesOfTheRegistrationMofAreDropped) {
    const auto record = create(classMof("Extra") + registrationMof("Disk"), "");
    const auto& registration = dynamic_cast<const OOP1ProviderRegistration&>(*record);
    EXPECT_EQ(registration.registrationInstances().size(), 1U);
    EXPECT_TRUE(registration.providerClasses().empty());
    EXPECT_EQ(registration.providerMofNamespace(), "");
}

TEST_F(ProviderMof, StartPrivilegesToTheByte) {
    const auto withArgs = [](const char* args) { return MofProperties{{"Args", args}}; };
    const auto monitored = [](MofProperties properties) {
        properties["UserContext"] = "4";
        return properties;
    };
    const String p = "/usr/lib/sample/provider";
    const struct {
        MofProperties properties;
        const char* privileges;
        String expected;
    } rows[] = {
        {{}, "", "user_exec_check_args { " + p + "  @ owprovdr }\n"},
        {withArgs("NULL"), "", "user_exec_check_args { " + p + "  @ owprovdr }\n"},
        {withArgs("{}"), "", "user_exec_check_args { " + p + "  @ owprovdr }\n"},
        {withArgs("{\"-d\", \"5\"}"), "",
         "user_exec_check_args { " + p + " \"-d\" \"5\"  @ owprovdr }\n"},
        {withArgs("{\"\"}"), "", "user_exec_check_args { " + p + " \"\"  @ owprovdr }\n"},
        {withArgs(R"({"a \"b\" \\ \n\t'c'"})"), "",
         "user_exec_check_args { " + p + R"( "a \"b\" \\ \n\t'c'"  @ owprovdr })" + "\n"},
        {monitored({}), PRIVILEGES,
         "monitored_exec_check_args { " + p + "  @ oop1-sample_Disk }\n"},
        {monitored(withArgs("{\"-d\"}")), PRIVILEGES,
         "monitored_exec_check_args { " + p + " \"-d\"  @ oop1-sample_Disk }\n"},
        {monitored({{"InstanceID", "\"sample:Disk Provider/1\""}}), PRIVILEGES,
         "monitored_exec_check_args { " + p + "  @ oop1-sample_Disk_Provider_1 }\n"},
        {{{"Process", "\"/usr/lib/%1@%2#\""}},
         "",
         "user_exec_check_args { /usr/lib/%1@%2#  @ owprovdr }\n"},
    };
    for (const auto& [properties, privileges, expected] : rows) {
        EXPECT_EQ(startPrivileges(registrationMof("Disk", properties), privileges), expected);
    }
}

// Each of these would be parsed as something other than the one intended command.
TEST_F(ProviderMof, StartPrivilegesThatWouldSayMoreAreRefused) {
    const String plain =
        " property cannot be written into a privilege file: it must be a text without blanks, "
        "control characters, quotes, backslashes and braces that does not begin with # or @";
    const String valued =
        " property cannot be written into a privilege file: give each argument a value";
    const struct {
        const char* property;
        const char* value;
        bool monitored;
        String message;
    } rows[] = {
        {"Process", R"("/x @ root } user_exec_check_args { /bin/sh")", false, plain},
        {"Process", R"("/x @ root } user_exec_check_args { /bin/sh")", true, plain},
        {"Process", R"("/x @ root /bin/sh")", false, plain},
        {"Process", R"("/x } include { y } user_exec_check_args { /x")", false, plain},
        {"Process", R"("/x } stat { /y } user_exec_check_args { /x")", false, plain},
        {"Process", R"("/with a blank")", false, plain},
        {"Process", R"("/with\ta tab")", false, plain},
        {"Process", R"("/with\x1b")", false, plain},
        {"Process", R"("\"/quoted\"")", false, plain},
        {"Process", R"("/with\\backslash")", false, plain},
        {"Process", R"("#/comment")", false, plain},
        {"Process", R"("@")", false, plain},
        {"Process", R"("")", false, plain},
        {"Process", "NULL", false, plain},
        {"Args", R"({"a", NULL})", false, valued},
    };
    for (const auto& [property, value, monitored, message] : rows) {
        SCOPED_TRACE(value);
        const String mof =
            registrationMof("Disk", {{property, value}, {"UserContext", monitored ? "4" : "3"}});
        expectFailure(
            INVALID_INPUT, String("Instance sample:Disk: ") + property + message,
            [&, hasFile = monitored] { startPrivileges(mof, hasFile ? PRIVILEGES : ""); });
    }
    for (const String end : {"\\n", "\\x0001", "\\t"}) {
        EXPECT_THROW(startPrivileges(registrationMof("Disk" + end, MONITORED), PRIVILEGES),
                     FennikException);
    }
    expectFailure(INVALID_INPUT, "Instance sample:a\nb: InstanceID" + plain,
                  [&] { startPrivileges(registrationMof("a\\nb", MONITORED), PRIVILEGES); });
}

TEST_F(ProviderMof, LineFeedInAnIdentifierThatIsNotWrittenIsAccepted) {
    EXPECT_EQ(startPrivileges(registrationMof("Disk", {{"InstanceID", R"("sample:a\nb")"}}), ""),
              "user_exec_check_args { /usr/lib/sample/provider  @ owprovdr }\n");
}

TEST_F(ProviderMof, GivenStartPrivilegesAreKept) {
    const auto record = create(registrationMof("Disk"), "", "", "as saved\n");
    EXPECT_EQ(dynamic_cast<const OOP1ProviderRegistration&>(*record).providerOOPPrivileges(),
              "as saved\n");
}

TEST_F(ProviderMof, LogsTheRegistrationMof) {
    m_log.clear();
    m_facility.buildInstancesForOOPRegistration(registrationMof("Disk"), "PATH",
                                                ProviderRegistrationFacility::E_NOT_MONITORED);
    ASSERT_GE(m_log.debugLines().size(), 2U);
    EXPECT_EQ(m_log.debugLines()[0],
              "ProviderRegistration: Building OOP registration instances from PATH");
    EXPECT_EQ(m_log.debugLines()[1],
              "ProviderRegistration: Provider mof contains:\n" + registrationMof("Disk"));
}

// The pragma must be found in a text as large as a whole schema.
TEST_F(ProviderMof, LargeTextsAreSearchedLineByLine) {
    String text = "#pragma namespace(\"sample\")\n";
    for (int i = 0; i < 200000; ++i) {
        text += "// # one of many lines\n";
    }
    EXPECT_EQ(m_facility.buildInstancesForOOPProvider(text, "PATH").nameSpace, "sample");
    refuseProvider(text + "#pragma namespace(\"sample\")",
                   "PATH must contain only one #pragma namespace");
}

}  // namespace
}  // namespace KOVNS2::Testing
