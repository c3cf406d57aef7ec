// SPDX-License-Identifier: Apache-2.0
//
// The rules for a registration instance, each with its message, and their order.
#include <set>

#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

constexpr int INVALID_INPUT = 14;

class ProviderValidation : public ProviderFixture {
protected:
    using Flag = ProviderRegistrationFacility::EMonitoredFlag;

    static constexpr Flag PLAIN = ProviderRegistrationFacility::E_NOT_MONITORED;
    static constexpr Flag WITH_PRIVILEGES = ProviderRegistrationFacility::E_MONITORED;

    /// Checks `mof` for that product, below a prefix or, when it is empty, on the live system.
    void build(const String& mof, Flag monitored, const String& product, const String& prefix) {
        ProviderRegistrationFacility(m_repository.handle(), product, prefix, m_undo)
            .buildInstancesForOOPRegistration(mof, "PATH", monitored);
    }
    void accept(const String& mof, Flag monitored = PLAIN) {
        SCOPED_TRACE(mof);
        EXPECT_NO_THROW(build(mof, monitored, "sample", m_tree.prefix()));
    }
    void refuse(const MofProperties& changed, const String& message, Flag monitored = PLAIN) {
        const String mof = registrationMof("Disk", changed);
        SCOPED_TRACE(mof);
        expectFailure(INVALID_INPUT, message,
                      [&] { build(mof, monitored, "sample", m_tree.prefix()); });
    }
    void refuseProcess(const MofProperties& changed, const String& message) {
        const String mof = processMof("Proc", changed);
        SCOPED_TRACE(mof);
        expectFailure(INVALID_INPUT, message,
                      [&] { build(mof, PLAIN, "sample", m_tree.prefix()); });
    }

    OpenRepository m_repository{m_tree};
};

TEST_F(ProviderValidation, IdentifierBeginsWithTheProductAndAColon) {
    for (const char* id : {"sample", "Sample:x", "sampler:x", " sample:x", "other:x", ":x"}) {
        refuse({{"InstanceID", String("\"") + id + "\""}},
               String("InstanceID property value (") + id + ") must begin with sample:");
    }
    refuse({{"InstanceID", "\"\""}}, "InstanceID property value () must begin with sample:");
    accept(registrationMof("", {{"InstanceID", "\"sample:\""}}));
    accept(registrationMof("../../etc/passwd"));
}

TEST_F(ProviderValidation, EachRefusalCarriesItsOwnPlace) {
    std::set<int> lines;
    const std::vector<MofProperties> bad = {{{"InstanceID", "\"x\""}},
                                            {{"Process", "\"/opt/tarvo/kov\""}},
                                            {{"Protocol", "\"owcpp2\""}},
                                            {{"NamespaceNames", ""}},
                                            {{"NamespaceNames", "{\"other\"}"}},
                                            {{"ProviderTypes", "{9}"}},
                                            {{"UserContext", "4"}}};
    for (const MofProperties& changed : bad) {
        const auto [file, line] = placeOf(
            [&] { build(registrationMof("Disk", changed), PLAIN, "sample", m_tree.prefix()); });
        EXPECT_EQ(file, "fennik/provider/ProviderValidation.cpp");
        EXPECT_TRUE(lines.insert(line).second) << line;
    }
}

TEST_F(ProviderValidation, OtherClassesAreRefused) {
    CIMInstance instance("OpenWBEM_OOPProviderCapabilities");
    instance.setProperty("InstanceID", CIMValue("sample:x"));
    ProviderRegistrationFacility facility(m_repository.handle(), "sample", "", m_undo);
    expectFailure(INVALID_INPUT,
                  "Registration instance sample:x is not an instance of "
                  "OpenWBEM_OOPProviderRegistration nor OpenWBEM_OOPProviderProcess "
                  "(OpenWBEM_OOPProviderCapabilities)",
                  [&] { facility.validateOOP1ProviderRegistration(instance, PLAIN); });
}

TEST_F(ProviderValidation, InfrastructureProgramsAreItsOwn) {
    for (const char* process : {"/opt/tarvo/kov", "/opt/tarvo/kov/bin/x", "/opt/tarvo/kovx"}) {
        const MofProperties changed{{"Process", String("\"") + process + "\""}};
        refuse(changed, "Instance sample:Disk: Process property cannot start with /opt/tarvo/kov");
        refuseProcess(changed,
                      "Instance sample:Proc: Process property cannot start with /opt/tarvo/kov");
        const String own = processMof(
            "Disk", {{"InstanceID", "\"kov:Disk\""}, {"Process", String("\"") + process + "\""}});
        EXPECT_NO_THROW(build(own, PLAIN, "kov", m_tree.prefix()));
        const String other = processMof(
            "Disk", {{"InstanceID", "\"KOV:Disk\""}, {"Process", String("\"") + process + "\""}});
        expectFailure(INVALID_INPUT,
                      "Instance KOV:Disk: Process property cannot start with /opt/tarvo/kov",
                      [&] { build(other, PLAIN, "KOV", m_tree.prefix()); });
    }
    accept(registrationMof("Disk", {{"Process", "\"/opt/tarvo/ko\""}}));
}

TEST_F(ProviderValidation, LivingSystemNeedsTheProgram) {
    const String directory = m_tree.prefix();
    const String plainFile = (m_tree.qualifiersFile()).string();
    for (const String& process : {String("/nonexistent/program"), directory, plainFile, String()}) {
        const String mof = registrationMof("Disk", {{"Process", "\"" + process + "\""}});
        accept(mof);
        expectFailure(INVALID_INPUT,
                      "Instance sample:Disk: Process property does not identify a valid "
                      "executable: " +
                          process,
                      [&] { build(mof, PLAIN, "sample", ""); });
    }
    EXPECT_NO_THROW(
        build(registrationMof("Disk", {{"Process", "\"/bin/sh\""}}), PLAIN, "sample", ""));
}

TEST_F(ProviderValidation, ProtocolIsExact) {
    for (const char* protocol : {"\"owcpp2\"", "\"OWCPP1\"", "\"owcpp1 \"", "\"\""}) {
        refuse({{"Protocol", protocol}}, "Instance sample:Disk: Protocol property must be owcpp1");
        refuseProcess({{"Protocol", protocol}},
                      "Instance sample:Proc: Protocol property must be owcpp1");
    }
}

TEST_F(ProviderValidation, NamespacesAreThoseOfTheProduct) {
    refuse({{"NamespaceNames", ""}}, "Instance sample:Disk: NamespaceNames property must be set");
    refuse({{"NamespaceNames", "NULL"}},
           "Instance sample:Disk: NamespaceNames property must be set");
    for (const char* ns : {"SAMPLE", "root", "sample/three", ""}) {
        refuse({{"NamespaceNames", String("{\"sample\", \"") + ns + "\", \"zzz\"}"}},
               String("Instance sample:Disk: NamespaceNames property contains a namespace (") + ns +
                   ") that is not registered");
    }
    accept(registrationMof("Disk", {{"NamespaceNames", "{\"sample/two\", \"sample\"}"}}));
    accept(registrationMof("Disk", {{"NamespaceNames", "{}"}}));
}

TEST_F(ProviderValidation, ProductWithoutNamespacesMayServeNone) {
    const String mof = registrationMof("Disk", {{"InstanceID", "\"ghost:Disk\""}});
    expectFailure(INVALID_INPUT,
                  "Instance ghost:Disk: NamespaceNames property contains a namespace (sample) that "
                  "is not registered",
                  [&] { build(mof, PLAIN, "ghost", m_tree.prefix()); });
}

TEST_F(ProviderValidation, ProviderTypesLieBetweenOneAndEight) {
    for (const char* type : {"0", "9", "65535"}) {
        refuse({{"ProviderTypes", String("{1, ") + type + "}"}},
               String("Instance sample:Disk: ProviderTypes property contains an invalid value: ") +
                   type);
    }
    accept(registrationMof("Disk", {{"ProviderTypes", "{1, 2, 3, 4, 5, 6, 8}"}}));
    accept(registrationMof("Disk", {{"ProviderTypes", ""}}));
    accept(registrationMof("Disk", {{"ProviderTypes", "{}"}}));
    refuse({{"ProviderTypes", "{7}"}},
           "Instance sample:Disk: Indication Export providers must set the "
           "IndicationExportHandlerClassNames property");
    accept(registrationMof(
        "Disk", {{"ProviderTypes", "{7}"}, {"IndicationExportHandlerClassNames", "{\"X\"}"}}));
    accept(registrationMof(
        "Disk", {{"ProviderTypes", "{7}"}, {"IndicationExportHandlerClassNames", "{}"}}));
    // Values are checked in their order.
    refuse({{"ProviderTypes", "{7, 9}"}},
           "Instance sample:Disk: Indication Export providers must set the "
           "IndicationExportHandlerClassNames property");
    refuse({{"ProviderTypes", "{9, 7}"}},
           "Instance sample:Disk: ProviderTypes property contains an invalid value: 9");
}

TEST_F(ProviderValidation, ProcessHasNeitherNamespacesNorTypes) {
    accept(processMof("Proc"));
}

TEST_F(ProviderValidation, UserContextFollowsThePrivileges) {
    const String mofs[] = {registrationMof("Disk", MONITORED), processMof("Disk", MONITORED)};
    for (const String& mof : mofs) {
        accept(mof, WITH_PRIVILEGES);
        expectFailure(INVALID_INPUT,
                      "Instance sample:Disk: UserContext property contains an invalid value: 4",
                      [&] { build(mof, PLAIN, "sample", m_tree.prefix()); });
    }
    refuse({}, "Instance sample:Disk: UserContext property contains an invalid value: 3",
           WITH_PRIVILEGES);
    for (const char* context : {"0", "1", "2", "5", "65535"}) {
        for (const Flag flag : {PLAIN, WITH_PRIVILEGES}) {
            refuse(
                {{"UserContext", context}},
                String("Instance sample:Disk: UserContext property contains an invalid value: ") +
                    context,
                flag);
        }
    }
    refuse({{"UserContext", ""}},
           "Instance sample:Disk: UserContext property contains an invalid value: ");
}

TEST_F(ProviderValidation, PrivilegeFileIsNotForTheProductToName) {
    for (const char* file : {"\"/x\"", "\"\""}) {
        refuse({{"MonitorPrivilegesFile", file}},
               "Instance sample:Disk: MonitorPrivilegesFile property has a value but must be NULL");
        refuseProcess(
            {{"MonitorPrivilegesFile", file}},
            "Instance sample:Proc: MonitorPrivilegesFile property has a value but must be NULL");
    }
    accept(registrationMof("Disk", {{"MonitorPrivilegesFile", "NULL"}}));
}

// All properties are wrong at first. Each round corrects the one that the message names.
TEST_F(ProviderValidation, RulesAreCheckedInTheirOrder) {
    MofProperties all{{"InstanceID", "\"other:Disk\""},
                      {"Process", "\"/opt/tarvo/kov/x\""},
                      {"Protocol", "\"x\""},
                      {"NamespaceNames", ""},
                      {"ProviderTypes", "{0}"},
                      {"UserContext", "9"},
                      {"MonitorPrivilegesFile", "\"/x\""}};
    const struct {
        const char* message;
        const char* property;
        const char* right;
    } rounds[] = {
        {"InstanceID property value (other:Disk) must begin with sample:", "InstanceID",
         "\"sample:Disk\""},
        {"Instance sample:Disk: Process property cannot start with /opt/tarvo/kov", "Process",
         "\"/nonexistent/x\""},
        {"Instance sample:Disk: Process property does not identify a valid executable: "
         "/nonexistent/x",
         "Process", "\"/bin/sh\""},
        {"Instance sample:Disk: Protocol property must be owcpp1", "Protocol", "\"owcpp1\""},
        {"Instance sample:Disk: NamespaceNames property must be set", "NamespaceNames", "{\"no\"}"},
        {"Instance sample:Disk: NamespaceNames property contains a namespace (no) that is not "
         "registered",
         "NamespaceNames", "{\"sample\"}"},
        {"Instance sample:Disk: ProviderTypes property contains an invalid value: 0",
         "ProviderTypes", "{1}"},
        {"Instance sample:Disk: UserContext property contains an invalid value: 9", "UserContext",
         "3"},
        {"Instance sample:Disk: MonitorPrivilegesFile property has a value but must be NULL",
         "MonitorPrivilegesFile", ""},
    };
    for (const auto& [message, property, right] : rounds) {
        SCOPED_TRACE(message);
        expectFailure(INVALID_INPUT, message,
                      [&] { build(registrationMof("Disk", all), PLAIN, "sample", ""); });
        all[property] = right;
    }
    EXPECT_NO_THROW(build(registrationMof("Disk", all), PLAIN, "sample", ""));
}

}  // namespace
}  // namespace KOVNS2::Testing
