// SPDX-License-Identifier: Apache-2.0
//
// Saving a state, and how it fails.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <thread>

#include "blocxx/Interruption.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "fennik/state/StateFile.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "openwbem/xml/XMLLimits.hpp"
#include "tests/unit/fennik/FileFaults.hpp"
#include "tests/unit/state/StateFixture.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;

class StateSaving : public StateFixture {
protected:
    /// Expects that saving fails with this code and message and leaves the earlier state file.
    void expectRefused(OpenRepository& repository, int code, const String& message) {
        writeFile(file(), "earlier state");
        m_log.clear();
        try {
            save(repository);
            ADD_FAILURE() << "saved";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), code);
            EXPECT_EQ(e.getMessage(), message);
        }
        EXPECT_EQ(readFile(file()), "earlier state");
    }

    /// Creates an instance of a class whose properties are all strings.
    static void create(OpenRepository& repository, const String& ns, const String& className,
                       const std::map<String, String>& values) {
        CIMInstance instance = repository.handle()->getClass(ns, className).newInstance();
        for (const auto& [name, value] : values) {
            instance.setProperty(name, CIMValue(value));
        }
        repository.handle()->createInstance(ns, instance);
    }
};

TEST_F(StateSaving, NothingIsTheHeaderAVersionAndNoProducts) {
    EXPECT_EQ(save(), "");
    EXPECT_EQ(readFile(file()), String(EXPECTED_HEADER) +
                                    "<SavedProductState>\n"
                                    "  <Version>1.4.0Release.824</Version>\n"
                                    "  <SavedProducts/>\n"
                                    "</SavedProductState>\n");
}

TEST_F(StateSaving, ProductWithNothingHasAllItsSixChildren) {
    {
        OpenRepository repository(m_tree);
        registerOne(repository, "bare", {});
    }
    EXPECT_EQ(save(), "Saving product registration for bare\n");
    EXPECT_EQ(savedBody(),
              "<SavedProductState>\n"
              "  <Version>1.4.0Release.824</Version>\n"
              "  <SavedProducts>\n"
              "    <Product>\n"
              "      <Name>bare</Name>\n"
              "      <AllowedUsers/>\n"
              "      <ConfigFile/>\n"
              "      <NamespaceRegistration/>\n"
              "      <RegisteredProviders/>\n"
              "      <ProductInstances/>\n"
              "    </Product>\n"
              "  </SavedProducts>\n"
              "</SavedProductState>\n");
}

TEST_F(StateSaving, NamespacesHaveTheirAccessAndTheirContentInOneText) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"bob", "alice", "bob & <co>"});
    create(repository, "root/security", "OpenWBEM_UserACL",
           {{"nspace", "sample"}, {"username", "eve"}, {"capability", "odd & <rights>"}});
    repository.faults().createNameSpace("sample");
    create(repository, "kov", "KOV_ReservedNamespace", {{"Name", "sample"}});
    CIMInstance association =
        repository.handle()->getClass("kov", "KOV_ProductReservedNamespace").newInstance();
    association.setProperty("Product",
                            CIMValue(CIMObjectPath::parse("kov:KOV_Product.Name=\"sample\"")));
    association.setProperty(
        "ReservedNamespace",
        CIMValue(CIMObjectPath::parse("kov:KOV_ReservedNamespace.Name=\"sample\"")));
    repository.handle()->createInstance("kov", association);

    save(repository);
    EXPECT_EQ(savedBody(),
              "<SavedProductState>\n"
              "  <Version>1.4.0Release.824</Version>\n"
              "  <SavedProducts>\n"
              "    <Product>\n"
              "      <Name>sample</Name>\n"
              "      <AllowedUsers>\n"
              "        <UserName>bob</UserName>\n"
              "        <UserName>alice</UserName>\n"
              "        <UserName>bob &amp; &lt;co&gt;</UserName>\n"
              "      </AllowedUsers>\n"
              "      <ConfigFile/>\n"
              "      <NamespaceRegistration>\n"
              "        <Namespace>\n"
              "          <Name>sample</Name>\n"
              "          <NamespaceACLEntry>\n"
              "            <UserName>eve</UserName>\n"
              "            <Capability>odd &amp; &lt;rights&gt;</Capability>\n"
              "          </NamespaceACLEntry>\n"
              "        </Namespace>\n"
              "      </NamespaceRegistration>\n"
              "      <RegisteredProviders/>\n"
              "      <ProductInstances>\n"
              "        <NamespaceInstances>\n"
              "          <Name>sample</Name>\n"
              "          <InstanceMOF>#pragma namespace(\"sample\")\n"
              "</InstanceMOF>\n"
              "        </NamespaceInstances>\n"
              "      </ProductInstances>\n"
              "    </Product>\n"
              "  </SavedProducts>\n"
              "</SavedProductState>\n");
}

TEST_F(StateSaving, NamespaceIsQualifierTypesThenClassesThenInstancesEachOnce) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"alice"}, {"sample"});
    const auto& handle = repository.handle();
    load(repository, "sample",
         "class S_Base { [Key] string Id; };\nclass S_Sub : S_Base { uint8 More; };\n"
         "class S_Other { [Key] string Id; };\n");
    create(repository, "sample", "S_Other", {{"Id", "o"}});
    create(repository, "sample", "S_Sub", {{"Id", "s"}});
    create(repository, "sample", "S_Base", {{"Id", "b"}});

    save(repository);
    String expected = "#pragma namespace(\"sample\")\n";
    for (const auto& qualifierType : handle->enumQualifierTypesA("sample")) {
        expected += MOF::toMOF(qualifierType) + "\n";
    }
    for (const char* name : {"S_Base", "S_Sub", "S_Other"}) {
        expected += MOF::toMOF(handle->getClass("sample", name, E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                                E_INCLUDE_CLASS_ORIGIN)) +
                    "\n";
    }
    const String body = savedBody();
    const size_t at = body.find(expected);
    ASSERT_NE(at, String::npos) << expected << "\nin\n" << body;
    const String instances = body.substr(at + expected.size());
    EXPECT_EQ(instances.substr(0, instances.find("</InstanceMOF>")),
              "instance of S_Base\n{\n    Id = \"b\";\n};\n\n"
              "instance of S_Sub\n{\n    Id = \"s\";\n    More = NULL;\n};\n\n"
              "instance of S_Other\n{\n    Id = \"o\";\n};\n\n");
}

TEST_F(StateSaving, InfrastructureIsLeftOutInAnyCaseAndTheOthersKeepTheirOrder) {
    OpenRepository repository(m_tree);
    for (const char* product : {"zeta", "KOV", "kovx", "alpha"}) {
        registerOne(repository, product, {});
    }
    String expected;
    for (const String& name : listRegisteredProducts(repository.handle())) {
        expected += name == "KOV" ? "" : "Saving product registration for " + name + "\n";
    }
    EXPECT_EQ(save(repository), expected);
    EXPECT_EQ(std::count(expected.begin(), expected.end(), '\n'), 3);
    EXPECT_EQ(savedBody().find("<Name>KOV</Name>"), String::npos);
}

TEST_F(StateSaving, ProductsAreListedBeforeAccessIsReadAndThatOnlyForNamespaces) {
    OpenRepository repository(m_tree);
    registerOne(repository, "bare", {"alice"});
    repository.faults().failOperation("enumInstances");
    EXPECT_NO_THROW(save(repository));
    registerOne(repository, "sample", {"alice"}, {"sample"});
    repository.faults().failOperation("enumInstanceNames");
    m_log.clear();
    thrownBy<FennikException>([&] { save(repository); });
    EXPECT_EQ(repository.faults().failedOperation(), "enumInstanceNames");
    repository.faults().failNothing();
    repository.faults().failOperation("enumInstances");
    thrownBy<FennikException>([&] { save(repository); });
    expectLogged({"gatherConfigFiles() done for \"sample\"",
                  "gatherNamespaceRegistration() called for \"sample\""});
}

TEST_F(StateSaving, IsLoggedStepByStep) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"alice", "bob"}, {"sample"});
    save(repository);
    const String name = file().string();
    expectLogged({
        "Saving all product registration state to \"" + name + "\"",
        "createStateDump() called...",
        "createProductDump() called for \"sample\"",
        "gatherAllowedUsers() called for \"sample\"",
        "Product registration instance:\n" +
            MOF::toMOF(repository.handle()->enumInstancesA("kov", "KOV_Product").at(0)),
        "Found username \"alice\"",
        "Found username \"bob\"",
        "gatherAllowedUsers() done for \"sample\"",
        "gatherConfigFiles() called for \"sample\"",
        "gatherConfigFiles() done for \"sample\"",
        "gatherNamespaceRegistration() called for \"sample\"",
        "NS \"sample\" has username \"alice\" with capabilities \"rwRW\"",
        "NS \"sample\" has username \"bob\" with capabilities \"rwRW\"",
        "NS \"sample\" has username \"root\" with capabilities \"rwRW\"",
        "gatherNamespaceRegistration() done for \"sample\"",
        "gatherProviderRegistration() called for \"sample\"",
        "gatherProviderRegistration() done for \"sample\"",
        "gatherProductInstances() called for \"sample\"",
        "gatherProductInstances() done for \"sample\"",
        "createProductDump() done for \"sample\"",
        "createStateDump() done...",
        "Successfully saved all product registration state to \"" + name + "\"",
    });
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(StateSaving, ChangesNothingButTheFile) {
    {
        OpenRepository repository(m_tree);
        registerOne(repository, "sample", {"alice"}, {"sample"});
    }
    const auto before = m_tree.files();
    save();
    const String first = readFile(file());
    save();
    EXPECT_EQ(m_tree.files(), before);
    EXPECT_EQ(readFile(file()), first);
}

// How it fails.

TEST_F(StateSaving, FailureOfTheLibraryIsTheCauseOfTheToolsOwn) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"alice"});
    repository.faults().failOperation("enumInstanceNames");
    expectRefused(repository, -1, "Failed creating state dump");
    const String cause = "CIMException: 1: failed: " + String(FaultyHandle::FAULT);
    EXPECT_EQ(m_log.errors(), (StringArray{"Failed creating state dump: " + cause}));
    const String thrown = thrownBy<FennikException>([&] { save(repository); });
    EXPECT_TRUE(thrown.ends_with("FennikException: Failed creating state dump <" + cause + ">"))
        << thrown;
}

/// Records a product with names that registering refuses. Other clients can do that.
void record(OpenRepository& repository, const String& name, const StringArray& users) {
    CIMInstance product = repository.handle()->getClass("kov", "KOV_Product").newInstance();
    product.setProperty("Name", CIMValue(name));
    product.setProperty("Usernames", CIMValue::array<String>(users));
    repository.handle()->createInstance("kov", product);
    repository.handle()->commit();
}

TEST_F(StateSaving, FailureOfTheToolIsPassedOn) {
    OpenRepository repository(m_tree);
    record(repository, "sample", {"a\x01"});
    expectRefused(repository, 36,
                  "The state of product \"sample\" cannot be saved: XML cannot hold the element "
                  "Product/AllowedUsers[1]/UserName[1]: its text has the control character U+0001 "
                  "in line 1, byte 2");
    m_log.clear();
    const String thrown = thrownBy<FennikException>([&] { save(repository); });
    EXPECT_EQ(m_log.errors(), (StringArray{"Failed creating state dump: " + thrown}));
}

TEST_F(StateSaving, UnknownFailureIsPassedOn) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"alice"});
    repository.faults().failBy([] { throw 7; });  // NOLINT(hicpp-exception-baseclass)
    repository.faults().failCall(2);
    writeFile(file(), "earlier state");
    m_log.clear();
    EXPECT_THROW(save(repository), int);
    EXPECT_EQ(m_log.errors(), (StringArray{"Unknown error occurred while creating state dump"}));
    EXPECT_EQ(readFile(file()), "earlier state");
}

TEST_F(StateSaving, EveryCallThatFailsLeavesTheEarlierFile) {
    OpenRepository repository(m_tree);
    registerOne(repository, "one", {"alice"}, {"one", "one/two"}, {"bob"});
    registerOne(repository, "two", {"alice"}, {"two"});
    writeFile(file(), "earlier state");
    unsigned failures = 0;
    for (;; ++failures) {
        repository.faults().failCall(failures + 1);
        try {
            save(repository);
            break;
        } catch (const FennikException& e) {
            ASSERT_TRUE(repository.faults().hasFailed());
            EXPECT_EQ(e.getMessage(), String("Failed creating state dump"));
            EXPECT_EQ(readFile(file()), "earlier state");
        }
    }
    EXPECT_FALSE(repository.faults().hasFailed());
    EXPECT_GT(failures, 20U);
    std::printf("%u injected failures\n", failures);
}

struct Unprintable {
    const char* text;
    const char* reason;
};

class StateSavingUnprintable : public StateSaving,
                               public ::testing::WithParamInterface<Unprintable> {
protected:
    void expectNamed(const String& product, const String& element) {
        OpenRepository repository(m_tree);
        expectRefused(repository, 36,
                      "The state of product \"" + product +
                          "\" cannot be saved: XML cannot hold the element " + element +
                          ": its text has " + GetParam().reason + " in line 1, byte 2");
    }
};

TEST_P(StateSavingUnprintable, UserName) {
    {
        OpenRepository repository(m_tree);
        registerOne(repository, "good", {"alice"});
        record(repository, "sample", {"alice", String("a") + GetParam().text});
    }
    expectNamed("sample", "Product/AllowedUsers[1]/UserName[2]");
}

TEST_P(StateSavingUnprintable, ProductName) {
    const String name = String("p") + GetParam().text;
    {
        OpenRepository repository(m_tree);
        record(repository, name, {"alice"});
    }
    expectNamed(name, "Product/Name[1]");
}

TEST_P(StateSavingUnprintable, AccessOfANamespace) {
    {
        OpenRepository repository(m_tree);
        registerOne(repository, "sample", {"alice"}, {"sample"});
        create(repository, "root/security", "OpenWBEM_UserACL",
               {{"nspace", "sample"},
                {"username", String("u") + GetParam().text},
                {"capability", "rR"}});
        repository.handle()->commit();
    }
    expectNamed("sample",
                "Product/NamespaceRegistration[1]/Namespace[1]/NamespaceACLEntry[3]/UserName[1]");
}

INSTANTIATE_TEST_SUITE_P(Texts, StateSavingUnprintable,
                         ::testing::Values(Unprintable{"\x1f", "the control character U+001F"},
                                           Unprintable{"\xef\xbf\xbf",
                                                       "a code that is no character"}));

TEST_F(StateSaving, TextsOfInstancesMayHoldWhatXmlCannot) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"alice"}, {"sample"});
    load(repository, "sample", "class S_All { [Key] string Id; };\n");
    create(repository, "sample", "S_All",
           {{"Id", "\x01\r\n\x7f\xef\xbf\xbe\xef\xbf\xbf\xef\xbf\xbd"}});
    save(repository);
    EXPECT_NE(savedBody().find("Id = \"\\x0001\\r\\n\\x007F\\xFFFE\\xFFFF\xef\xbf\xbd\";"),
              String::npos);
}

// The file.

TEST_F(StateSaving, FileIsPrivateBelowTheToolsMask) {
    const mode_t before = ::umask(077);
    save();
    ::umask(before);
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0600));
}

TEST_F(StateSaving, LongerFileIsTruncatedAndKeepsItsMode) {
    writeFile(file(), String(100000, 'x'));
    fs::permissions(file(), fs::perms(0640));
    save();
    EXPECT_TRUE(savedBody().ends_with("</SavedProductState>\n"));
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0640));
}

TEST_F(StateSaving, WhatCannotBeOpenedIsRefusedAfterEverythingWasGathered) {
    OpenRepository repository(m_tree);
    registerOne(repository, "sample", {"alice"});
    const fs::path directory = file().parent_path();
    for (const String& name :
         {directory.string(), (directory / "missing/state.xml").string(), String()}) {
        SCOPED_TRACE(name);
        ::testing::internal::CaptureStdout();
        try {
            saveProductStatesToFile(repository.handle(), name);
            ADD_FAILURE() << "saved";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 36);
            EXPECT_EQ(e.getMessage(), "Failed to create state file: \"" + name + "\"");
            EXPECT_NE(e.getOtherException(), nullptr);
        }
        EXPECT_EQ(::testing::internal::GetCapturedStdout(),
                  "Saving product registration for sample\n");
    }
}

TEST_F(StateSaving, WhatWouldBeTooLargeToBeReadLeavesTheEarlierFile) {
    XMLNode root("SavedProductState");
    for (size_t i = 0; i < XMLLimits::MAX_ITEMS; ++i) {
        root.addChild(XMLNode("Product"));
    }
    writeFile(file(), "earlier state");
    try {
        StateFile::write(root, file().string());
        ADD_FAILURE() << "written";
    } catch (const FennikException& e) {
        EXPECT_EQ(e.getErrorCode(), 36);
        EXPECT_EQ(
            e.getMessage(),
            String("The state cannot be saved: the document would have 4000001 elements and "
                   "attributes, and at most 4000000 can be read again; deregister what is not "
                   "needed any more, or delete instances of it"));
    }
    EXPECT_EQ(readFile(file()), "earlier state");
}

/// Saves into a FIFO in a child. Returns the child's exit status: 1 when it was interrupted.
int savingInto(const fs::path& fifo, const XMLNode& root, const std::function<void()>& before) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(20);
        blocxx::Interruption::catchSignals();
        before();
        try {
            StateFile::write(root, fifo.string());
            ::_exit(0);
        } catch (const blocxx::InterruptedException&) {
            ::_exit(1);
        } catch (...) {
            ::_exit(2);
        }
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(StateSaving, ASignalEndsTheWaitForTheReaderOfAFifo) {
    const fs::path fifo = file().parent_path() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(savingInto(fifo, XMLNode("SavedProductState"), [] { ::raise(SIGTERM); }), 1);
}

TEST_F(StateSaving, AFifoIsWrittenWhenItsReaderComesAndGoesOnLate) {
    const fs::path fifo = file().parent_path() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    XMLNode root("SavedProductState");
    root.setText(String(300'000, 'x'));  // more than a FIFO holds
    String found;
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        std::ifstream in(fifo);
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        found.assign(std::istreambuf_iterator<char>(in), {});
    });
    EXPECT_EQ(savingInto(fifo, root, [] {}), 0);
    reader.join();
    EXPECT_NE(found.find(String(300'000, 'x')), String::npos);
}

TEST_F(StateSaving, FileThatALinkLeadsToIsWritten) {
    save();
    const String saved = readFile(file());
    const fs::path link = file().parent_path() / "link";
    const fs::path target = file().parent_path() / "target";
    fs::create_symlink(target, link);
    OpenRepository repository(m_tree);
    saveProductStatesToFile(repository.handle(), link.string());
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(readFile(target), saved);
}

/// Saves to `path` while no file may be longer than 1000 bytes. Returns the exception as text.
String thrownOnFullDisk(OpenRepository& repository, const fs::path& path) {
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{1000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    const String thrown = thrownBy<FennikException>(
        [&] { saveProductStatesToFile(repository.handle(), path.string()); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    return thrown;
}

TEST_F(StateSaving, FullDiskBehindALinkLeavesTheLink) {
    OpenRepository repository(m_tree);
    const fs::path link = file().parent_path() / "link";
    fs::create_symlink("target", link);
    EXPECT_NE(thrownOnFullDisk(repository, link).find("File too large"), String::npos);
    EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(StateSaving, FullDiskIsAnErrorAndLeavesNoNewFile) {
    OpenRepository repository(m_tree);
    const String thrown = thrownOnFullDisk(repository, file());
    EXPECT_NE(thrown.find("36: Failed to create state file: \"" + file().string() + "\" <"),
              String::npos)
        << thrown;
    EXPECT_NE(thrown.find("File too large"), String::npos) << thrown;
    EXPECT_FALSE(fs::exists(file()));
}

TEST_F(StateSaving, EveryCallOnTheFileAndItsNameThatFailsLeavesNoNewFile) {
    OpenRepository repository(m_tree);
    const fs::path place = file().parent_path() / "place";
    const fs::path path = place / "inner" / "state.xml";
    fs::create_directories(path.parent_path());
    std::vector<String> failed;
    for (unsigned n = 1; n < 100; ++n) {
        FileFaults::failCall(n, place);
        String thrown;
        try {
            saveProductStatesToFile(repository.handle(), path.string());
        } catch (const FennikException& e) {
            thrown = toString(e);
        }
        FileFaults::failNothing();
        if (FileFaults::failedCall().empty()) {
            EXPECT_EQ(thrown, "");
            break;
        }
        failed.push_back(FileFaults::failedCall() + " " +
                         fs::path(FileFaults::failedFile()).filename().string());
        if (failed.back() == "close inner") {
            fs::remove(path);  // nothing is lost with it
            continue;
        }
        EXPECT_NE(thrown.find("36: Failed to create state file: \"" + path.string() + "\" <"),
                  String::npos)
            << failed.back() << ": " << thrown;
        EXPECT_FALSE(fs::exists(path)) << failed.back();
    }
    EXPECT_EQ(failed, (std::vector<String>{"open state.xml", "write state.xml", "write state.xml",
                                           "fsync state.xml", "open inner", "fsync inner",
                                           "close inner", "close state.xml"}));
    EXPECT_TRUE(fs::exists(path));
}

TEST_F(StateSaving, FullDeviceIsAnErrorAndStays) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    OpenRepository repository(m_tree);
    const String thrown = thrownBy<FennikException>(
        [&] { saveProductStatesToFile(repository.handle(), "/dev/full"); });
    EXPECT_NE(thrown.find("36: Failed to create state file: \"/dev/full\" <"), String::npos);
    EXPECT_NE(thrown.find("No space left on device"), String::npos) << thrown;
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

}  // namespace
}  // namespace KOVNS2::Testing
