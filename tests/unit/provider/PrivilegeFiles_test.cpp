// SPDX-License-Identifier: Apache-2.0
//
// The paths of privilege files, writing them, and the check of their content.
#include "fennik/provider/PrivilegeFiles.hpp"

#include <sys/resource.h>

#include <csignal>

#include "fennik/provider/ProviderModel.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;

constexpr int INVALID_INPUT = 14;
const String DIRECTORY = "/etc/opt/tarvo/kov/openwbem/privileges";

CIMInstance named(const String& id) {
    return CIMInstance("OpenWBEM_OOPProviderRegistration").setProperty("InstanceID", CIMValue(id));
}

TEST(SafeFileName, SeventeenCharactersBecomeUnderscores) {
    const String unsafe = " \"'()/:<>[]\\^`{}|";
    ASSERT_EQ(unsafe.size(), 17U);
    size_t replaced = 0;
    for (int byte = 0; byte < 256; ++byte) {
        const String text(1, static_cast<char>(byte));
        const bool isUnsafe = unsafe.find(text) != String::npos;
        EXPECT_EQ(PrivilegeFiles::safeFileName(text), isUnsafe ? String("_") : text) << byte;
        replaced += isUnsafe ? 1 : 0;
    }
    EXPECT_EQ(replaced, 17U);
    EXPECT_EQ(PrivilegeFiles::safeFileName(unsafe), String(17, '_'));
    EXPECT_EQ(PrivilegeFiles::safeFileName(""), "");
}

TEST(PrivilegeFilePaths, FollowFromTheIdentifier) {
    const CIMInstance instance = named("prod:Disk Provider/1");
    EXPECT_EQ(PrivilegeFiles::fileName(instance), "oop1-prod_Disk_Provider_1");
    EXPECT_EQ(PrivilegeFiles::oopPrivilegeFile(instance),
              DIRECTORY + "/owcimomd/oop1-prod_Disk_Provider_1");
    EXPECT_EQ(PrivilegeFiles::providerPrivilegeFile(instance),
              DIRECTORY + "/oop1-prod_Disk_Provider_1");
}

TEST(PrivilegeFilePaths, StayInTheDirectoryWhateverTheIdentifier) {
    for (const char* id :
         {"", "..", "p:../../../etc/passwd", "/etc/passwd", "a\nb", "p:.", "p:\\.."}) {
        EXPECT_EQ(fs::path(PrivilegeFiles::oopPrivilegeFile(named(id))).parent_path(),
                  DIRECTORY + "/owcimomd");
        EXPECT_EQ(fs::path(PrivilegeFiles::providerPrivilegeFile(named(id))).parent_path(),
                  DIRECTORY);
    }
}

TEST(ScriptedInterfacePaths, AreBuiltFromSafeNames) {
    EXPECT_EQ(PrivilegeFiles::scriptedInterfacePrivilegeFile("a/b c", false),
              DIRECTORY + "/scriptedprov/scrIFC-a_b_c.priv");
    EXPECT_EQ(PrivilegeFiles::scriptedInterfacePrivilegeFile("never there", true),
              DIRECTORY + "/scriptedprov/scrIFC-never_there.priv");
}

TEST(ScriptedInterfacePaths, EndAt4096Characters) {
    const size_t rest = (DIRECTORY + "/scriptedprov/scrIFC-.priv").size();
    const String longest(4096 - rest, 'x');
    EXPECT_EQ(PrivilegeFiles::scriptedInterfacePrivilegeFile(longest, false).size(), 4096U);
    expectFailure(INVALID_INPUT,
                  "Length of resulting privilege file (" + DIRECTORY + "/scriptedprov/scrIFC-" +
                      longest + "x.priv) is too long.",
                  [&] { PrivilegeFiles::scriptedInterfacePrivilegeFile(longest + "x", true); });
}

class WritingPrivilegeFiles : public ::testing::Test {
protected:
    fs::path path(const char* name = "file") const { return m_directory.path() / name; }
    void refuse(const fs::path& path, int errnum, const String& message) {
        expectFailure<blocxx::IOException>(
            errnum, message, [&] { PrivilegeFiles::writeFile(path.string(), "contents"); });
    }

    TemporaryDirectory m_directory;
};

TEST_F(WritingPrivilegeFiles, KeepsEveryByte) {
    String contents;
    for (int byte = 0; byte < 256; ++byte) {
        contents += static_cast<char>(byte);
    }
    PrivilegeFiles::writeFile(path().string(), contents);
    EXPECT_EQ(readFile(path()), contents);
    PrivilegeFiles::writeFile(path("empty").string(), "");
    EXPECT_EQ(readFile(path("empty")), "");
}

TEST_F(WritingPrivilegeFiles, ExistingFileIsRefusedAndKept) {
    writeFile(path(), "before");
    refuse(path(), EEXIST, "createFile(" + path().string() + ") failed: 17(File exists)");
    EXPECT_EQ(readFile(path()), "before");
}

TEST_F(WritingPrivilegeFiles, LinksAreNotFollowed) {
    fs::create_symlink(path("elsewhere"), path());
    refuse(path(), EEXIST, "createFile(" + path().string() + ") failed: 17(File exists)");
    EXPECT_FALSE(fs::exists(path("elsewhere")));
}

TEST_F(WritingPrivilegeFiles, MissingDirectoryAndLongNamesAreTold) {
    refuse(path("none/file"), ENOENT,
           "createFile(" + path("none/file").string() + ") failed: 2(No such file or directory)");
    const fs::path tooLong = path(String(5000, 'x').c_str());
    refuse(tooLong, ENAMETOOLONG,
           "createFile(" + tooLong.string() + ") failed: 36(File name too long)");
}

TEST_F(WritingPrivilegeFiles, ShortWriteIsAFailureThatLeavesWhatWasWritten) {
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    struct rlimit small = before;
    small.rlim_cur = 3;
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    String message;
    try {
        PrivilegeFiles::writeFile(path().string(), "contents");
    } catch (const blocxx::IOException& e) {
        message = e.getMessage();
    }
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(message, "write to " + path().string() + " failed: 27(File too large)");
    EXPECT_EQ(readFile(path()), "con");
}

class PrivilegeVerification : public ProviderFixture {
protected:
    void accept(const String& text) {
        SCOPED_TRACE(text);
        m_log.clear();
        EXPECT_NO_THROW(facility().verifyPrivilegesContent(text, "PATH"));
        EXPECT_EQ(m_log.debugLines(),
                  (StringArray{"ProviderRegistration: Verifying privileges for PATH",
                               text.empty() ? "ProviderRegistration: No privileges."
                                            : "ProviderRegistration: Privileges look fine."}));
    }
    void refuse(const String& text, const String& message) {
        SCOPED_TRACE(text);
        m_log.clear();
        expectFailure(INVALID_INPUT, message,
                      [&] { facility().verifyPrivilegesContent(text, "PATH"); });
        EXPECT_EQ(m_log.debugLines(),
                  StringArray{"ProviderRegistration: Verifying privileges for PATH"});
    }

private:
    ProviderRegistrationFacility& facility() { return m_facility; }

    OpenRepository m_repository{m_tree};
    ProviderRegistrationFacility m_facility{m_repository.handle(), "sample", m_tree.prefix(),
                                            m_undo};
};

TEST_F(PrivilegeVerification, TextsThatPass) {
    accept("");
    accept("unpriv_user { nobody }");
    accept("# sample\nunpriv_user { nobody }\nopen_r { /etc/passwd \"/a b\" }\n");
    accept("unpriv_user { Root }");
    accept("unpriv_user { 0 }");
}

TEST_F(PrivilegeVerification, RootAndNobodyAtAllAreRefused) {
    refuse("unpriv_user { root }", "Invalid privileges: root is not an allowed user");
    refuse("unpriv_user { \"root\" }", "Invalid privileges: root is not an allowed user");
    for (const char* text : {"\n", "# only a comment", "open_r { /etc/passwd }"}) {
        refuse(text, "Invalid privileges: unpriv_user not specified");
    }
}

TEST_F(PrivilegeVerification, ParseErrorsAreToldWithTheirPlace) {
    try {
        ProviderRegistrationFacility(CIMOMHandleIFCRef(), "sample", "", m_undo)
            .verifyPrivilegesContent("unpriv_user { nobody }\n   oops { x }\n", "PATH");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), INVALID_INPUT);
        EXPECT_TRUE(
            String(e.getMessage()).starts_with("Parsing PATH failed at column 4 of line 2: "))
            << e.getMessage();
    }
}

TEST_F(PrivilegeVerification, IncludedFilesMustExistAndAreNotParsed) {
    refuse("include { more }\nunpriv_user { nobody }",
           "PATH includes a non-existent file: " + (m_tree.privilegeDirectory() / "more").string());
    writeFile(m_tree.privilegeDirectory() / "more", "not { a privilege text");
    accept("include { more }\nunpriv_user { nobody }");
    writeFile(m_tree.privilegeDirectory() / "more", "unpriv_user { nobody }");
    refuse("include { more }", "Invalid privileges: unpriv_user not specified");
    writeFile(m_tree.privilegeDirectory() / "owcimomd" / "inner", "");
    accept("include { \"owcimomd/inner\" }\nunpriv_user { nobody }");
}

}  // namespace
}  // namespace KOVNS2::Testing
