// SPDX-License-Identifier: Apache-2.0
//
// What restoring reads from a state file in any form, and what it refuses.
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"
#include "tests/unit/state/StateFixture.hpp"

namespace KOVNS2::Testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* KEY =
    "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, "
    "ToSubclass);\n";

class StateRestoring : public StateFixture {
protected:
    /// The content of a new repository on which `make` has run.
    template <class Make>
    static std::map<String, String> contentOf(Make make) {
        const StagedTree tree;
        OpenRepository repository(tree);
        make(repository, tree.prefix());
        return repository.content();
    }

    /// The content of a repository in which only a product without users is registered.
    static std::map<String, String> onlyProduct(const String& name) {
        return contentOf([&](OpenRepository& repository, const String& prefix) {
            registerProduct(repository.handle(), name, {}, prefix);
        });
    }

    /// An OOP1ProviderRegistration, with some of its elements replaced.
    static String provider(const std::map<String, String>& changed = {}) {
        const std::pair<const char*, String> elements[] = {
            {"ProviderMOFNamespace", "sample"},
            {"ProviderClassname", "Sample_disk"},
            {"ProviderPrivileges", ""},
            {"ProviderOOPIPrivileges", "user_exec_check_args { /x @ owprovdr }\n"},
            {"ProviderQualifiers", ""},
            {"ProviderClasses", ""},
            {"RegistrationInstances", textElement("InstanceMOF", registrationMof("disk"))},
            {"ProviderInstances", ""}};
        String content;
        for (const auto& [name, text] : elements) {
            const auto other = changed.find(name);
            if (other == changed.end()) {
                content += element(name, text);
            } else if (other->second != "-") {
                content += element(name, other->second);
            }
        }
        return element("OOP1ProviderRegistration", content);
    }
    static String withProvider(const String& registration) {
        return document(
            productElement("sample", {"alice"}, element("RegisteredProviders", registration)));
    }
    fs::path privilegeFile(const String& name) const { return m_tree.privilegeDirectory() / name; }
};

TEST_F(StateRestoring, NoProductsAreNothingToDo) {
    for (const char* products : {"", " \n\t", "<!-- none -->"}) {
        const auto before = m_tree.files();
        EXPECT_EQ(restore(document(products)),
                  "Restoring product registration from KOV version 1\n"
                  "Nothing to do.  No products exist in the saved state.\n");
        EXPECT_EQ(m_tree.files(), before);
    }
}

TEST_F(StateRestoring, ProductMayHaveNothingButUsers) {
    EXPECT_EQ(restored(document(productElement("bare", {}))), onlyProduct("bare"));
    EXPECT_EQ(newFiles(), (StringArray{fs::relative(usersFile("bare"), m_tree.prefix()).string()}));
    EXPECT_EQ(readFile(usersFile("bare")), "owcimomd.allowed_users =\n");
    expectLogged({"No config file node attached...", "No namespace registration node attached...",
                  "No product instance node attached...",
                  "No provider registration node attached..."});
    EXPECT_TRUE(m_undo.empty());
}

TEST_F(StateRestoring, TellsWhatItIsAt) {
    EXPECT_EQ(restore(document(productElement("one", {}) + productElement("two", {"alice"}))),
              "Restoring product registration from KOV version 1\n"
              "Restoring product registration for one\n"
              "Restoring product registration for two\n");
    const String name = file().string();
    expectLogged({"Loading product registration state from \"" + name + "\"",
                  "Have product node for \"one\":\n<Product>\n  <Name>one</Name>\n"
                  "  <AllowedUsers/>\n</Product>\n",
                  "Successfully loaded product registration state from \"" + name + "\""});
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(StateRestoring, TakesTheWholeStateInAnyForm) {
    const auto expected = contentOf([](OpenRepository& repository, const String& prefix) {
        CleanupActions_t undo;
        registerProduct(repository.handle(), "sample", {"alice", "bob"}, prefix);
        registerNamespaces(repository.handle(), "sample", {"alice", "carol"}, {"bob"}, {"sample"},
                           prefix, undo);
        registerNamespaces(repository.handle(), "sample", {}, {}, {"sample/two"}, prefix, undo);
        load(repository, "sample",
             "class S { [Key] string Id; };\ninstance of S { Id = \" x \"; };\n");
    });
    const String compact = document(productElement(
        "sample", {"alice", "bob"},
        element("ConfigFile", "key = 1\n") +
            element(
                "NamespaceRegistration",
                namespaceElement("sample", {"alice=rwRW", "bob=rR", "carol=rwRW", "root=rwRW"}) +
                    namespaceElement("sample/two", {"root=rwRW"})) +
            element("ProductInstances",
                    contentElement("sample", "#pragma namespace(\"sample\")\n" + String(KEY) +
                                                 "class S { [Key] string Id; };\n"
                                                 "instance of S { Id = \" x \"; };\n"))));
    EXPECT_EQ(restored(compact), expected);
    EXPECT_EQ(readFile(snippet("sample")), "key = 1\n");

    // White space, comments, declarations, CDATA and attributes around the same content.
    String spacious;
    for (const char c : compact.substr(compact.find("<Saved"))) {
        spacious += c == '<' ? "\n\t <" : String(1, c);
    }
    for (const auto& [from, to] :
         {std::pair<String, String>{"<Name>sample\n\t <", "<Name>\r\n <![CDATA[sam]]>p&#108;e \n<"},
          {"<UserName>bob", "<!-- a user --><UserName why=\"x\">\n\tbob\n"},
          {"rR", "\n rR\n"},
          {"<ConfigFile>key", "<?processing instruction?><ConfigFile>\r\n \t key"},
          {"<InstanceMOF>#", "<InstanceMOF>\n\n#"},
          {"<Version>1", "<Version>\n 1.2.3 \n"}}) {
        for (size_t at = 0; (at = spacious.find(from, at)) != String::npos; at += to.size()) {
            spacious.replace(at, from.size(), to);
        }
    }
    const StagedTree other;
    writeFile(file(),
              String("\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?><!-- x -->") + spacious);
    OpenRepository repository(other);
    ::testing::internal::CaptureStdout();
    CleanupActions_t undo;
    restoreProductStatesFromFile(repository.handle(), file().string(), other.prefix(), undo);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Restoring product registration from KOV version 1.2.3\n"
              "Restoring product registration for sample\n");
    EXPECT_EQ(repository.content(), expected);
    EXPECT_EQ(readFile(other.configDirectory() / "sample.conf"), "key = 1\n\n\t ");
}

TEST_F(StateRestoring, SnippetLosesWhiteSpaceInFrontOnly) {
    const String kept = "key = 1 & <2>\r\n\r\tx \r\n \t";
    restore(document(productElement("sample", {}, textElement("ConfigFile", " \t\r\n" + kept))));
    EXPECT_EQ(readFile(snippet("sample")), kept);
    restore(document(productElement("blank", {}, textElement("ConfigFile", " \n\r"))));
    EXPECT_EQ(readFile(snippet("blank")), "");
    restore(document(productElement("empty", {}, "<ConfigFile/>")));
    EXPECT_EQ(readFile(snippet("empty")), "");
    expectLogged({"Found config file node"});
}

TEST_F(StateRestoring, AccessThatCannotBeGivenIsLeftOut) {
    const auto expected = contentOf([](OpenRepository& repository, const String& prefix) {
        CleanupActions_t undo;
        registerProduct(repository.handle(), "sample", {}, prefix);
        registerNamespaces(repository.handle(), "sample", {"w"}, {"r"}, {"sample"}, prefix, undo);
    });
    const String registration = element(
        "NamespaceRegistration",
        namespaceElement("sample", {"a=rw", "b=", "c=RW", "d=r", "e=rwRWx", "f=RRW", "r= rR ",
                                    "g=rRwW", "w=\trwRW\n", "root=rR", "h=RwRW"}));
    EXPECT_EQ(restored(document(productElement("sample", {}, registration))), expected);
    expectLogged({"Found namespace registration node"});
}

TEST_F(StateRestoring, NameOfANamespaceIsReadBeforeItsAccess) {
    const String thrown = thrownBy<FennikException>([&] {
        restore(document(productElement(
            "sample", {},
            element("NamespaceRegistration",
                    element("Namespace", "<NamespaceACLEntry></NamespaceACLEntry>")))));
    });
    EXPECT_NE(thrown.find("\"Namespace\" has no child \"Name\""), String::npos) << thrown;
}

TEST_F(StateRestoring, ContentWithoutANameOrMofIsPassedOver) {
    const String contents = element("NamespaceInstances", "") +
                            element("NamespaceInstances", "<InstanceMOF>broken</InstanceMOF>") +
                            element("NamespaceInstances", "<Name>missing</Name>") +
                            element("Other", "x");
    EXPECT_EQ(
        restored(document(productElement("sample", {}, element("ProductInstances", contents)))),
        onlyProduct("sample"));
    expectLogged({"No namespace \"Name\" node for product instances: <NamespaceInstances/>\n",
                  "No namespace \"Name\" node for product instances: <NamespaceInstances>\n"
                  "  <InstanceMOF>broken</InstanceMOF>\n</NamespaceInstances>\n",
                  "No mof node \"InstanceMOF\" for product instances: <NamespaceInstances>\n"
                  "  <Name>missing</Name>\n</NamespaceInstances>\n"});
}

TEST_F(StateRestoring, OnlyTheFirstMofOfANamespaceCounts) {
    const String contents = element(
        "NamespaceInstances", textElement("Name", "sample") +
                                  textElement("InstanceMOF", "class A { [Key] string Id; };") +
                                  textElement("InstanceMOF", "broken"));
    const auto content = restored(
        document(productElement("sample", {},
                                element("NamespaceRegistration", namespaceElement("sample", {})) +
                                    element("ProductInstances", contents))));
    EXPECT_TRUE(content.contains("sample: A"));
    expectLogged({"Restoring product instances for namespace \"sample\"",
                  "Restoring product instances.  MOF:\nclass A { [Key] string Id; };"});
}

TEST_F(StateRestoring, RawCarriageReturnsOfMofAreRepairedInEveryNamespace) {
    const String mof = "class A { [Key] string Id; };\ninstance of A { Id = \"a\rb\"; };\n";
    writeFile(file(), document(productElement(
                          "sample", {},
                          element("NamespaceRegistration", namespaceElement("sample", {})) +
                              element("ProductInstances", contentElement("sample", mof)))));
    OpenRepository repository(m_tree);
    restore(repository);
    EXPECT_EQ(
        repository.handle()->enumInstancesA("sample", "A").at(0).getPropertyValue("Id").toString(),
        "a\rb");
    expectLogged(
        {"Restoring product instances.  MOF:\nclass A { [Key] string Id; };\n"
         "instance of A { Id = \"a\\rb\"; };\n"});
}

TEST_F(StateRestoring, CarriageReturnsThatTheFileHoldsAsTheyAreAreRepairedToo) {
    const String before = "class A { [Key] string Id; };\r\ninstance of A { Id = \"a";
    writeFile(file(),
              document(productElement(
                  "sample", {},
                  element("NamespaceRegistration", namespaceElement("sample", {})) +
                      element("ProductInstances",
                              element("NamespaceInstances",
                                      element("Name", "sample") +
                                          element("InstanceMOF", before + "\rb\r\"; };\r\n"))))));
    OpenRepository repository(m_tree);
    restore(repository);
    EXPECT_EQ(
        repository.handle()->enumInstancesA("sample", "A").at(0).getPropertyValue("Id").toString(),
        "a\rb\r");
    expectLogged(
        {"Restoring product instances.  MOF:\nclass A { [Key] string Id; };\n"
         "instance of A { Id = \"a\\rb\\r\"; };\n"});
}

TEST_F(StateRestoring, EmbeddedInstancesAreRepairedInOneNamespaceOnly) {
    const String broken =
        "class A { [Key] string Id; string Process; };\n"
        "instance of A {\n Id = \"1\";\n Process = \"{\\nName = x;\\n}\";\n};\n";
    for (const char* ns : {"zeb/SoftwareMeteringAgent", "zeb/Other", "zeb/softwaremeteringagent"}) {
        SCOPED_TRACE(ns);
        const StagedTree tree;
        OpenRepository repository(tree);
        writeFile(file(), document(productElement(
                              "zeb", {},
                              element("NamespaceRegistration", namespaceElement(ns, {})) +
                                  element("ProductInstances", contentElement(ns, broken)))));
        CleanupActions_t undo;
        m_log.clear();
        ::testing::internal::CaptureStdout();
        restoreProductStatesFromFile(repository.handle(), file().string(), tree.prefix(), undo);
        ::testing::internal::GetCapturedStdout();
        const bool repaired = String(ns) == "zeb/SoftwareMeteringAgent";
        EXPECT_EQ(repository.handle()
                      ->enumInstancesA(ns, "A")
                      .at(0)
                      .getPropertyValue("Process")
                      .toString(),
                  repaired ? "{\nName = \"x\";\n};" : "{\nName = x;\n}");
        const String message =
            "Fixing invalid embedded instance mof for namespace \"" + String(ns) + "\"";
        const StringArray lines = m_log.debugLines();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), message), repaired ? 1 : 0);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "Initial MOF: " + broken),
                  repaired ? 1 : 0);
    }
}

// Providers.

TEST_F(StateRestoring, ProviderIsRecordedAndItsSchemaIsNotMadeAgain) {
    const String document = withProvider(
        provider({{"ProviderQualifiers", "<Name>SampleUnit</Name>"},
                  {"ProviderClasses", "<Name> Sample_disk\n</Name><Name>Sample_Part</Name>"},
                  {"ProviderInstances", textElement("Name", "sample:Sample_disk.Id=\"x\"")},
                  {"ProviderPrivileges", "\n  unpriv_user { nobody }\n \n"}}));
    writeFile(file(), document);
    OpenRepository repository(m_tree);
    const auto before = repository.content();
    restore(repository);
    EXPECT_EQ(readFile(privilegeFile("oop1-sample_disk")), "unpriv_user { nobody }\n \n");
    EXPECT_EQ(readFile(privilegeFile("owcimomd/oop1-sample_disk")),
              "user_exec_check_args { /x @ owprovdr }\n");
    StringArray added;
    for (const auto& [name, mof] : repository.content()) {
        if (!before.contains(name)) {
            added.push_back(name);
        }
    }
    EXPECT_EQ(added.size(), 4U) << ::testing::PrintToString(added);
    const CIMInstance registration =
        repository.handle()->enumInstancesA("root", "OpenWBEM_OOPProviderRegistration").at(0);
    EXPECT_EQ(registration.getPropertyValue("MonitorPrivilegesFile").toString(),
              "/etc/opt/tarvo/kov/openwbem/privileges/oop1-sample_disk");
    const CIMInstance record = repository.handle()->enumInstancesA("kov", "KOV_OOP1Provider").at(0);
    const struct {
        const char* property;
        StringArray names;
    } lists[] = {{"ProviderMofClassNames", {"Sample_disk", "Sample_Part"}},
                 {"ProviderMofQualifierTypeNames", {"SampleUnit"}},
                 {"ProviderMofInstanceNames", {"sample:Sample_disk.Id=\"x\""}}};
    for (const auto& list : lists) {
        EXPECT_EQ(record.getPropertyValue(list.property).getArray<String>(), list.names);
    }
    expectLogged({"createRegistrationFromNode() called", "createOOP1RegistrationFromNode() called",
                  "Have NS=sample", "Have classname=Sample_disk",
                  "Have provPrivs=unpriv_user { nobody }\n \n",
                  "Have provOOPIPrivs=user_exec_check_args { /x @ owprovdr }\n",
                  "Have qualifiers: \"SampleUnit\"",
                  "Have provider instances: \"sample:Sample_disk.Id=\"x\"\"",
                  "Have classes: \"Sample_disk\" \"Sample_Part\"",
                  "createOOP1RegistrationFromNode() done", "createRegistrationFromNode() done"});
}

TEST_F(StateRestoring, RegistrationWithAPrivilegeFileIsTakenAsItWasSaved) {
    const String saved = registrationMof(
        "disk",
        {{"MonitorPrivilegesFile", "\"/etc/opt/tarvo/kov/openwbem/privileges/oop1-sample_disk\""},
         {"UserContext", "4"},
         {"Process", "\"/nonexistent\""}});
    writeFile(file(),
              withProvider(provider({{"RegistrationInstances", textElement("InstanceMOF", saved)},
                                     {"ProviderPrivileges", "unpriv_user { nobody }"}})));
    OpenRepository repository(m_tree);
    restore(repository);
    EXPECT_EQ(repository.handle()
                  ->enumInstancesA("root", "OpenWBEM_OOPProviderRegistration")
                  .at(0)
                  .getPropertyValue("MonitorPrivilegesFile")
                  .toString(),
              "/etc/opt/tarvo/kov/openwbem/privileges/oop1-sample_disk");
}

TEST_F(StateRestoring, ProviderInAnEmptyListIsNone) {
    EXPECT_EQ(restored(document(
                  productElement("sample", {}, "<RegisteredProviders> </RegisteredProviders>"))),
              onlyProduct("sample"));
}

TEST_F(StateRestoring, ProviderOfAnotherTypeIsRefused) {
    expectRefused(withProvider("<OOP2ProviderRegistration/>"), 14,
                  "Bad provider registration node type: \"OOP2ProviderRegistration\"");
}

TEST_F(StateRestoring, ProviderWithoutOneOfItsElementsIsRefused) {
    for (const char* name : {"ProviderMOFNamespace", "ProviderClassname", "ProviderPrivileges",
                             "ProviderOOPIPrivileges", "ProviderQualifiers", "ProviderClasses",
                             "RegistrationInstances", "ProviderInstances"}) {
        const StagedTree tree;
        writeFile(file(), withProvider(provider({{name, "-"}})));
        OpenRepository repository(tree);
        CleanupActions_t undo;
        m_log.clear();
        ::testing::internal::CaptureStdout();
        const String thrown = thrownBy<FennikException>([&] {
            restoreProductStatesFromFile(repository.handle(), file().string(), tree.prefix(), undo);
        });
        ::testing::internal::GetCapturedStdout();
        const String reason = "Failed restoring state dump from " + file().string();
        EXPECT_NE(thrown.find("FennikException: " + reason + " <"), String::npos) << thrown;
        EXPECT_NE(thrown.find("XMLNodeException: "), String::npos) << thrown;
        EXPECT_NE(thrown.find(name), String::npos) << thrown;
        EXPECT_TRUE(fs::is_empty(tree.privilegeDirectory() / "owcimomd"));
    }
}

TEST_F(StateRestoring, ProviderMustHaveARegistrationInstance) {
    const String document = withProvider(provider({{"RegistrationInstances", ""}}));
    expectRefused(document, -1, "Failed restoring state dump from " + file().string());
}

// What is refused.

TEST_F(StateRestoring, WrongElementsAreRefusedByName) {
    const struct {
        String content;
        const char* message;
    } rows[] = {
        {"<Other/>",
         "Invalid product state root node: Found XML node \"Other\" when node "
         "\"SavedProductState\" was expected"},
        {"<savedproductstate/>",
         "Invalid product state root node: Found XML node \"savedproductstate\" when node "
         "\"SavedProductState\" was expected"},
        {document("<Other/>"),
         "Invalid product node: Found XML node \"Other\" when node \"Product\" was expected"},
        {document("<Product/>"),
         "No node with product name: Found NULL XML node when node \"Name\" was expected"},
        {document("<Product><AllowedUsers/></Product>"),
         "No node with product name: Found NULL XML node when node \"Name\" was expected"},
        {document("<Product><Name>a</Name></Product>"),
         "Invalid allowed users node: Found NULL XML node when node \"AllowedUsers\" was expected"},
    };
    for (const auto& row : rows) {
        m_log.clear();
        const auto before = m_tree.files();
        expectRefused(row.content, 14, row.message);
        EXPECT_EQ(m_tree.files(), before);
        ASSERT_EQ(m_log.errors().size(), 1U);
        const String start = "Failed restoring state dump from \"" + file().string() + "\": ";
        EXPECT_TRUE(m_log.errors()[0].starts_with(start)) << m_log.errors()[0];
        EXPECT_TRUE(m_log.errors()[0].ends_with(String("FennikException: 14: ") + row.message));
    }
}

TEST_F(StateRestoring, MissingVersionOrProductsAreRefusedByTheLibrary) {
    for (const auto& [content, missing] :
         {std::pair{"<SavedProductState><SavedProducts/></SavedProductState>", "Version"},
          {"<SavedProductState><Version>1</Version></SavedProductState>", "SavedProducts"},
          {"<SavedProductState/>", "Version"}}) {
        m_log.clear();
        const String thrown =
            thrownBy<FennikException>([&, document = String(content)] { restore(document); });
        const String what = "Failed restoring state dump from " + file().string();
        const size_t at = thrown.find("FennikException: " + what + " <");
        ASSERT_NE(at, String::npos) << thrown;
        const String cause = thrown.substr(thrown.find(" <") + 2);
        EXPECT_NE(cause.find(missing), String::npos) << cause;
        EXPECT_EQ(m_log.errors(), (StringArray{what + ": " + cause.substr(0, cause.size() - 1)}));
    }
}

TEST_F(StateRestoring, WhatIsNotXmlIsRefusedWithItsPlace) {
    for (const char* content :
         {"", "text", "<a>", "<SavedProductState><Version>1</Version></SavedProductState>x",
          "<SavedProductState>\xff</SavedProductState>",
          "<SavedProductState>&x;</SavedProductState>",
          "<!DOCTYPE a [<!ENTITY x 'y'>]><SavedProductState/>",
          "<!DOCTYPE a SYSTEM 'file:///etc/passwd'><SavedProductState/>"}) {
        SCOPED_TRACE(content);
        m_log.clear();
        const auto before = m_tree.files();
        const String thrown =
            thrownBy<FennikException>([&, document = String(content)] { restore(document); });
        const String what =
            "Invalid state dump found in \"" + file().string() + "\" during restoration:";
        EXPECT_NE(thrown.find("FennikException: 14: " + what + " <"), String::npos) << thrown;
        const String cause = thrown.substr(thrown.find(" <") + 2);
        EXPECT_NE(cause.find("XMLParseException: line "), String::npos) << cause;
        EXPECT_EQ(m_log.errors(), (StringArray{what + ": " + cause.substr(0, cause.size() - 1)}));
        EXPECT_EQ(m_tree.files(), before);
    }
}

TEST_F(StateRestoring, EveryBeginningOfAStateIsRefused) {
    const String whole = document(productElement("sample", {"alice"}));
    const auto before = m_tree.files();
    for (size_t size = 0; size < whole.size(); ++size) {
        expectRefused(
            whole.substr(0, size), 14,
            "Invalid state dump found in \"" + file().string() + "\" during restoration:");
    }
    EXPECT_EQ(m_tree.files(), before);
}

TEST_F(StateRestoring, FileThatCannotBeReadIsRefused) {
    OpenRepository repository(m_tree);
    for (const String& name : {file().string(), m_tree.prefix(), String()}) {
        m_log.clear();
        const String thrown = thrownBy<FennikException>([&] {
            restoreProductStatesFromFile(repository.handle(), name, m_tree.prefix(), m_undo);
        });
        EXPECT_NE(thrown.find("FennikException: 37: Failed to open state file: \"" + name + "\" <"),
                  String::npos)
            << thrown;
        EXPECT_TRUE(m_log.errors().empty());
    }
}

TEST_F(StateRestoring, UnknownFailureIsPassedOn) {
    OpenRepository repository(m_tree);
    repository.faults().failBy([] { throw 7; });  // NOLINT(hicpp-exception-baseclass)
    repository.faults().failOperation("createInstance");
    writeFile(file(), document(productElement("sample", {})));
    EXPECT_THROW(restore(repository), int);
    EXPECT_EQ(m_log.errors(),
              (StringArray{"Unknown error occurred while restoring state dump from \"" +
                           file().string() + "\""}));
}

TEST_F(StateRestoring, ContentMayNotReadFilesOrReachOtherNamespaces) {
    for (const char* mof :
         {"#pragma include(\"/etc/passwd\")\n", "#pragma namespace(\"root\")\nclass A {};\n",
          "#pragma namespace(\"http://host/root\")\nclass A {};\n"}) {
        SCOPED_TRACE(mof);
        const StagedTree tree;
        OpenRepository repository(tree);
        const auto before = repository.content();
        writeFile(file(), document(productElement(
                              "sample", {},
                              element("NamespaceRegistration", namespaceElement("sample", {})) +
                                  element("ProductInstances", contentElement("sample", mof)))));
        CleanupActions_t undo;
        ::testing::internal::CaptureStdout();
        const String thrown = thrownBy<FennikException>([&] {
            undoOnFailure(undo, [&] {
                restoreProductStatesFromFile(repository.handle(), file().string(), tree.prefix(),
                                             undo);
            });
        });
        ::testing::internal::GetCapturedStdout();
        EXPECT_NE(thrown.find("Failed restoring state dump from "), String::npos) << thrown;
        auto after = repository.content();
        EXPECT_EQ(after.erase("kov: kov:KOV_Product.Name=\"sample\""), 1U);
        EXPECT_EQ(after, before);
    }
}

TEST_F(StateRestoring, NamespaceMustBelongToItsProduct) {
    expectRefused(document(productElement(
                      "sample", {}, element("NamespaceRegistration", namespaceElement("kov", {})))),
                  6, "Namespace kov must begin with sample.");
}

TEST_F(StateRestoring, ProductNameMayNotLeaveItsDirectory) {
    expectRefused(
        document(productElement("../evil", {"x"})), 12,
        "The product \"../evil\" of the saved state cannot be restored: its name has a "
        "slash in it. Correct the name in the state file, or take the product out of it.");
    EXPECT_TRUE(newFiles().empty());
}

}  // namespace
}  // namespace KOVNS2::Testing
