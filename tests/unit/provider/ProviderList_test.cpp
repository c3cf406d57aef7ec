// SPDX-License-Identifier: Apache-2.0
//
// Reading a provider list into registration records.
#include <gmock/gmock.h>

#include "blocxx/FileSystem.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

using ::testing::ElementsAre;

constexpr int INVALID_INPUT = 14;

/// Records the paths of each entry instead of reading the files.
class EntryReader : public ProviderRegistrationFacility {
public:
    explicit EntryReader(CleanupActions_t& undo)
        : ProviderRegistrationFacility(CIMOMHandleIFCRef(), "sample", "/stage", undo) {}

    ProviderRegistrationRef createOOP1ProviderRegistration(
        const String& regMofPath, const String& providerMofPath,
        const String& privilegeFilePath) override {
        m_entries.push_back(regMofPath + "|" + providerMofPath + "|" + privilegeFilePath);
        return new OOP1ProviderRegistration(
            OOP1ProviderParts{{CIMInstance(regMofPath)}, {}, {}, {}, {}, {}, {}});
    }

    StringArray m_entries;
};

class ProviderList : public ::testing::Test {
protected:
    StringArray entries(const String& list) {
        EntryReader reader(m_undo);
        const auto registrations = reader.parseInputData(list);
        EXPECT_EQ(registrations.size(), reader.m_entries.size());
        for (size_t i = 0; i < registrations.size(); ++i) {
            const auto* record =
                dynamic_cast<const OOP1ProviderRegistration*>(registrations[i].get());
            EXPECT_TRUE(reader.m_entries[i].starts_with(record->registrationClassName() + "|"));
        }
        return reader.m_entries;
    }

    CleanupActions_t m_undo;
    CapturedLog m_log;
};

TEST_F(ProviderList, BlankLinesYieldNothing) {
    for (const char* list : {"", "\n", "\n\n\n"}) {
        EXPECT_THAT(entries(list), ElementsAre());
    }
}

TEST_F(ProviderList, EntriesComeInTheOrderOfTheList) {
    EXPECT_THAT(entries("oop1,b,c\noop1,a,d,e\n\n\noop1,b,c"),
                ElementsAre("b|c|", "a|d|e", "b|c|"));
}

TEST_F(ProviderList, EmptyFieldsAreDropped) {
    EXPECT_THAT(entries(",,oop1,,a.mof,b.mof,,"), ElementsAre("a.mof|b.mof|"));
    EXPECT_THAT(entries("oop1,a,,b,,c"), ElementsAre("a|b|c"));
}

TEST_F(ProviderList, BlanksAndCarriageReturnsArePartsOfThePaths) {
    EXPECT_THAT(entries("oop1, a , b\t\r\n"), ElementsAre(" a | b\t\r|"));
}

TEST_F(ProviderList, BadLinesAreRefused) {
    const struct {
        const char* line;
        const char* message;
    } rows[] = {
        {",,,", "Empty line in provider registration list"},
        {",", "Empty line in provider registration list"},
        {"OOP1,a,b", "Invalid provider type: OOP1"},
        {" oop1,a,b", "Invalid provider type:  oop1"},
        {"oop1 ,a,b", "Invalid provider type: oop1 "},
        {"oop2", "Invalid provider type: oop2"},
        {"\r", "Invalid provider type: \r"},
        {"a,b,c,d,e,f", "Invalid provider type: a"},
        {"oop1", "Invalid number of fields in oop1 provider registration entry: oop1"},
        {"oop1,a.mof", "Invalid number of fields in oop1 provider registration entry: oop1,a.mof"},
        {"oop1,a,b,c,d",
         "Invalid number of fields in oop1 provider registration entry: oop1,a,b,c,d"},
        {"oop1,,a,", "Invalid number of fields in oop1 provider registration entry: oop1,,a,"},
        {"oop1,%1", "Invalid number of fields in oop1 provider registration entry: oop1,%1"},
    };
    for (const auto& [line, message] : rows) {
        SCOPED_TRACE(line);
        EntryReader reader(m_undo);
        const String list = String("oop1,a,b\n") + line + "\noop1,c,d\n";
        expectFailure(INVALID_INPUT, message, [&] { reader.parseInputData(list); });
        EXPECT_THAT(reader.m_entries, ElementsAre("a|b|")) << "the first bad line ends the parse";
    }
    EXPECT_TRUE(m_undo.empty());
}

TEST_F(ProviderList, EachRefusalCarriesItsOwnPlace) {
    const auto unknown = placeOf([&] { entries("other,a,b"); });
    const auto tooLong = placeOf([&] { entries("oop1,a,b,c,d"); });
    EXPECT_EQ(unknown.first, "fennik/provider/ProviderList.cpp");
    EXPECT_EQ(tooLong.first, unknown.first);
    EXPECT_NE(tooLong.second, unknown.second);
}

TEST_F(ProviderList, LogsEveryLine) {
    entries("oop1,a,b\n\noop1,c,d,e\n");
    EXPECT_THAT(m_log.debugLines(), ElementsAre("ProviderRegistration: Parsing input data...",
                                                "ProviderRegistration: Parsing line oop1,a,b",
                                                "ProviderRegistration: Parsing line oop1,c,d,e"));
    for (const auto& message : m_log.messages()) {
        EXPECT_EQ(message.component, "fennik");
        EXPECT_STREQ(message.file, "FNProviderRegistrationFacility");
    }
}

/// Records the content of an entry's files instead of compiling it.
class TextReader : public ProviderRegistrationFacility {
public:
    TextReader(const String& destDir, CleanupActions_t& undo)
        : ProviderRegistrationFacility(CIMOMHandleIFCRef(), "sample", destDir, undo) {}

    ProviderRegistrationRef createOOP1ProviderRegistrationFromString(
        const String& regMof, const String& providerMof, const String& privileges,
        const String& oopPrivileges, const String& path1, const String& path2,
        const String& path3) override {
        m_arguments = {regMof, providerMof, privileges, oopPrivileges, path1, path2, path3};
        return {};
    }

    StringArray m_arguments;
};

class ProviderEntry : public ProviderList {
protected:
    ProviderEntry() {
        writeFile(m_directory.path() / "r.mof", "registration");
        writeFile(m_directory.path() / "p.mof", "provider");
        writeFile(m_directory.path() / "priv", "privileges");
        writeFile(m_directory.path() / "empty", "");
    }

    String prefix() const { return m_directory.path().string(); }

    TemporaryDirectory m_directory;
};

TEST_F(ProviderEntry, PathsAreTakenBelowThePrefixAndHandedOnInTheirOrder) {
    TextReader reader(prefix(), m_undo);
    reader.parseInputData("oop1,r.mof,/p.mof,priv\n");
    EXPECT_THAT(reader.m_arguments,
                ElementsAre("registration", "provider", "privileges", "", prefix() + "/r.mof",
                            prefix() + "/priv", prefix() + "//p.mof"));
}

TEST_F(ProviderEntry, WithoutPrivilegeFileItsPathIsThePrefixAlone) {
    TextReader reader(prefix(), m_undo);
    reader.parseInputData("oop1,r.mof,p.mof\n");
    EXPECT_THAT(reader.m_arguments,
                ElementsAre("registration", "provider", "", "", prefix() + "/r.mof", prefix() + "/",
                            prefix() + "/p.mof"));
}

TEST_F(ProviderEntry, WithoutPrefixPathsBeginAtTheRoot) {
    TextReader reader("", m_undo);
    const String relative = prefix().substr(1) + "/r.mof";
    const String absolute = prefix() + "/p.mof";
    reader.parseInputData("oop1," + relative + "," + absolute);
    EXPECT_THAT(reader.m_arguments, ElementsAre("registration", "provider", "", "", "/" + relative,
                                                "/", "/" + absolute));
}

TEST_F(ProviderEntry, EmptyPrivilegeFileIsReadAsNoPrivileges) {
    TextReader reader(prefix(), m_undo);
    reader.parseInputData("oop1,r.mof,p.mof,empty");
    EXPECT_EQ(reader.m_arguments[2], "");
    EXPECT_EQ(reader.m_arguments[5], prefix() + "/empty");
}

TEST_F(ProviderEntry, UnreadableFilesAreToldAsTheyCome) {
    for (const String entry : {"oop1,none,p.mof", "oop1,r.mof,none", "oop1,r.mof,p.mof,none"}) {
        SCOPED_TRACE(entry);
        TextReader reader(prefix(), m_undo);
        expectFailure<blocxx::FileSystemException>(
            ENOENT, "Cannot open \"" + prefix() + "/none\": 2(No such file or directory)",
            [&] { reader.parseInputData(entry); });
        EXPECT_TRUE(reader.m_arguments.empty());
    }
}

TEST_F(ProviderEntry, CarriageReturnSpoilsTheLastPath) {
    TextReader reader(prefix(), m_undo);
    expectFailure<blocxx::FileSystemException>(
        ENOENT,
        "Cannot open \"" + prefix() +
            "/p.mof\r\": 2(No such file or directory); the provider list has white space at the "
            "beginning or the end of this path, or lines that end with a carriage return: remove "
            "it",
        [&] { reader.parseInputData("oop1,r.mof,p.mof\r\n"); });
}

TEST_F(ProviderEntry, LogsWhatItLoads) {
    TextReader reader(prefix(), m_undo);
    reader.parseInputData("oop1,r.mof,p.mof,priv");
    reader.parseInputData("oop1,r.mof,p.mof");
    const String p = "ProviderRegistration: ";
    EXPECT_THAT(m_log.debugLines(),
                ElementsAre(p + "Parsing input data...", p + "Parsing line oop1,r.mof,p.mof,priv",
                            p + "Creating oop registration.  Reg mof path=\"r.mof\"  provider "
                                "mof=\"p.mof\"  privilege file=\"priv\"",
                            p + "Loading registration mof from " + prefix() + "/r.mof",
                            p + "Loading provider mof from " + prefix() + "/p.mof",
                            p + "Loading privileges from " + prefix() + "/priv",
                            p + "Parsing input data...", p + "Parsing line oop1,r.mof,p.mof",
                            p + "Creating oop registration.  Reg mof path=\"r.mof\"  provider "
                                "mof=\"p.mof\"  privilege file=\"\"",
                            p + "Loading registration mof from " + prefix() + "/r.mof",
                            p + "Loading provider mof from " + prefix() + "/p.mof"));
}

TEST(ProviderRecord, NeedsARegistrationInstance) {
    expectFailure<blocxx::OutOfBoundsException>(
        blocxx::Exception::UNKNOWN_ERROR_CODE, "index 0 of an array without elements",
        [] { OOP1ProviderRegistration{OOP1ProviderParts{}}; });
}

TEST(ProviderRecord, KeepsItsPartsAndTheClassOfItsFirstInstance) {
    const CIMInstance first = CIMInstance("First").setProperty("InstanceID", CIMValue("s:1"));
    const OOP1ProviderRegistration record(OOP1ProviderParts{{first, CIMInstance("Second")},
                                                            "sample",
                                                            {CIMInstance("A")},
                                                            {CIMClass("B")},
                                                            {CIMQualifierType("C")},
                                                            "own",
                                                            "oop"});
    EXPECT_EQ(record.registrationClassName(), "First");
    EXPECT_EQ(record.instanceID(), "s:1");
    EXPECT_EQ(record.registrationInstances().size(), 2U);
    EXPECT_EQ(record.providerMofNamespace(), "sample");
    EXPECT_EQ(record.providerInstances().front().getClassName(), "A");
    EXPECT_EQ(record.providerClasses().front().getName(), "B");
    EXPECT_EQ(record.providerQualifiers().front().getName(), "C");
    EXPECT_EQ(record.providerPrivileges(), "own");
    EXPECT_EQ(record.providerOOPPrivileges(), "oop");
}

TEST(ProviderRecord, TellsTheServedClassAndThePathOfItsRegistration) {
    CIMInstance instance("OpenWBEM_OOPProviderRegistration");
    instance
        .setProperty(
            CIMProperty("InstanceID", CIMDataType::STRING, CIMValue("s:\"1\"")).setKey(true))
        .setProperty("ClassName", CIMValue("Sample_Disk"));
    const OOP1ProviderRegistration record(OOP1ProviderParts{{instance}, {}, {}, {}, {}, {}, {}});
    EXPECT_EQ(record.listProviderInfo(),
              R"(Sample_Disk,root:OpenWBEM_OOPProviderRegistration.InstanceID="s:\"1\"")");
}

TEST(ProviderRecord, CallsTheOperationOfItsKind) {
    class Facility : public ProviderRegistrationFacility {
    public:
        using ProviderRegistrationFacility::ProviderRegistrationFacility;
        void registerProvider(const OOP1ProviderRegistration& record) override {
            m_calls.push_back("register " + record.registrationClassName());
        }
        void deRegisterProvider(const OOP1ProviderRegistration& record) override {
            m_calls.push_back("deregister " + record.registrationClassName());
        }
        StringArray m_calls;
    };
    CleanupActions_t undo;
    Facility facility(CIMOMHandleIFCRef(), "sample", "", undo);
    const ProviderRegistrationRef record(new OOP1ProviderRegistration(
        OOP1ProviderParts{{CIMInstance("X")}, {}, {}, {}, {}, {}, {}}));
    record->registerProvider(&facility);
    record->deRegisterProvider(&facility);
    EXPECT_THAT(facility.m_calls, ElementsAre("register X", "deregister X"));
}

}  // namespace
}  // namespace KOVNS2::Testing
