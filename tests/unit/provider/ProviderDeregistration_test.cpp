// SPDX-License-Identifier: Apache-2.0
//
// Removing and replacing providers, alone and when they depend on each other, and what the undo
// list restores.
#include <gmock/gmock.h>

#include "blocxx/FileSystem.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class ProviderDeregistering : public ProviderFixture {
protected:
    struct State {
        std::map<String, String> content;
        std::map<String, String> files;
    };
    State state() { return {m_repository.content(), privilegeFiles()}; }

    void expectState(const State& expected) {
        EXPECT_EQ(m_repository.content(), expected.content);
        EXPECT_EQ(privilegeFiles(), expected.files);
    }

    /// Removes all providers and expects the state from before they were registered. Then runs the
    /// undo list and expects the registered state.
    void expectRemovalAndUndo() {
        const State registered = state();
        m_undo.clear();
        deregisterAll(m_repository);
        expectState(m_before);
        EXPECT_THAT(listed(m_repository), IsEmpty());
        executeCleanupActions(m_undo);
        expectState(registered);
        EXPECT_THAT(m_log.errors(), IsEmpty());
        m_undo.clear();
    }

    /// Expects that the removal fails with that message and changes nothing.
    void expectStopped(const ::testing::Matcher<String>& message) {
        const State registered = state();
        m_undo.clear();
        try {
            deregisterAll(m_repository);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 14);
            EXPECT_THAT(String(e.getMessage()), message);
        }
        expectState(registered);
        EXPECT_THAT(m_log.errors(), IsEmpty());
    }

    void create(const String& ns, const String& mof) {
        Array<CIMInstance> instances;
        Array<CIMClass> classes;
        Array<CIMQualifierType> qualifierTypes;
        MOF::compileMOF(mof, m_repository.handle(), ns, instances, classes, qualifierTypes);
        for (const auto& cls : classes) {
            m_repository.handle()->createClass(ns, cls);
        }
        for (const auto& instance : instances) {
            m_repository.handle()->createInstance(ns, instance);
        }
    }

    /// Removes the product's providers in that order.
    void removeInOrder(const std::vector<size_t>& order) {
        class Ordered : public ProviderRegistrationFacility {
        public:
            Ordered(const CIMOMHandleIFCRef& handle, const String& prefix, CleanupActions_t& undo,
                    const std::vector<size_t>& order)
                : ProviderRegistrationFacility(handle, "sample", prefix, undo), m_order(order) {}
            Array<ProviderRegistrationRef> getCurrentProviderRegistrations() override {
                const auto found = ProviderRegistrationFacility::getCurrentProviderRegistrations();
                Array<ProviderRegistrationRef> ordered;
                for (const size_t index : m_order) {
                    ordered.push_back(found.at(index));
                }
                return ordered;
            }

        private:
            const std::vector<size_t>& m_order;
        };
        undoOnFailure(m_undo, [&] {
            Ordered(m_repository.handle(), m_tree.prefix(), m_undo, order).registerProviders("");
        });
    }

    /// Adds a provider to the registered ones.
    void add(const String& line) {
        ProviderRegistrationFacility facility(m_repository.handle(), "sample", m_tree.prefix(),
                                              m_undo);
        facility.parseInputData(line).front()->registerProvider(&facility);
    }

    /// Removes the two registered providers in either order, and undoes that.
    void expectEitherOrderOfRemoval() {
        const State registered = state();
        const std::vector<std::vector<size_t>> orders = {{0, 1}, {1, 0}};
        for (const auto& order : orders) {
            SCOPED_TRACE("from provider " + std::to_string(order.front()));
            m_undo.clear();
            removeInOrder(order);
            expectState(m_before);
            executeCleanupActions(m_undo);
            expectState(registered);
            EXPECT_THAT(m_log.errors(), IsEmpty());
        }
    }

    /// The end of every message that says how to repair something.
    String then() const {
        return "Then register the providers of the product again, or remove them:\n"
               "    fennik --kov-build-system-dest-dir " +
               m_tree.prefix() + " --register-providers LIST --name sample\n";
    }

    OpenRepository m_repository{m_tree};
    const State m_before = state();
};

const char* const HIERARCHY = R"(
class Sample_Grandchild : Sample_Child { string Most; };
class Sample_Child : Sample_Parent { string More; };
class Sample_Parent { [Key] string Id; string Text; };
instance of Sample_Grandchild { Id = "g"; Most = "M"; };
instance of Sample_Child { Id = "c"; Text = "child"; More = "m"; };
instance of Sample_Parent { Id = "p"; };
)";

TEST_F(ProviderDeregistering, WithoutProvidersNothingHappens) {
    deregisterAll(m_repository);
    registerList(m_repository, "");
    deregisterAll(m_repository, "never registered");
    registerList(m_repository, "\n", "never registered");
    expectState(m_before);
    EXPECT_TRUE(m_undo.empty());
}

TEST_F(ProviderDeregistering, ClassesGoWithTheirSubclassesWhateverTheOrderInTheMof) {
    registerList(m_repository, entry("disk", registrationMof("Disk", MONITORED),
                                     providerMof(HIERARCHY), PRIVILEGES));
    expectRemovalAndUndo();
}

TEST_F(ProviderDeregistering, InstancesMadeLaterGoWithTheirClass) {
    registerList(m_repository, entry("disk", registrationMof("Disk"), providerMof(HIERARCHY)));
    create("sample",
           "instance of Sample_Parent { Id = \"later\"; };\n"
           "instance of Sample_Grandchild { Id = \"later\"; Most = \"x\"; };");
    expectRemovalAndUndo();
}

TEST_F(ProviderDeregistering, ProcessGoesWithItsCapabilitiesAndTheirAssociations) {
    registerList(m_repository,
                 entry("proc", processWithCapabilitiesMof("Proc", MONITORED), "", PRIVILEGES));
    expectRemovalAndUndo();
}

TEST_F(ProviderDeregistering, QualifierTypesThatWereThereStay) {
    registerList(m_repository,
                 entry("disk", registrationMof("Disk"),
                       providerMof("Qualifier Description : string = \"theirs\", Scope(any);\n"
                                   "Qualifier Mine : boolean = true, Scope(any);\n")));
    m_undo.clear();
    deregisterAll(m_repository);
    EXPECT_THAT(MOF::toMOF(m_repository.handle()->getQualifierType("sample", "Description")),
                HasSubstr("theirs"))
        << "it was the namespace's before, so it stays, as it was set last";
    try {
        m_repository.handle()->getQualifierType("sample", "Mine");
        ADD_FAILURE() << "it is still there";
    } catch (const CIMException& e) {
        EXPECT_EQ(e.getErrNo(), CIMException::NOT_FOUND);
    }
}

TEST_F(ProviderDeregistering, HandEditsOfPrivilegeFilesComeBackByUndo) {
    registerList(m_repository, entry("disk", registrationMof("Disk", MONITORED), "", PRIVILEGES));
    writeFile(oopFile("Disk"), "edited by hand\n");
    writeFile(ownFile("Disk"), String("edited, too \0 \xff", 15));
    expectRemovalAndUndo();
}

TEST_F(ProviderDeregistering, MissingPrivilegeFileEndsTheListing) {
    registerList(m_repository, entry("disk", registrationMof("Disk"), ""));
    const State registered = state();
    m_undo.clear();
    std::filesystem::remove(oopFile("Disk"));
    const auto missing = [&](const String& purpose, const auto& operation) {
        try {
            operation();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 14);
            EXPECT_THAT(e.getMessage(), StartsWith("Provider " + purpose + " failed: "));
            EXPECT_THAT(e.getMessage(), HasSubstr("Cannot open \"" + oopFile("Disk").string() +
                                                  "\": 2(No such file or directory)"));
            ASSERT_NE(e.getOtherException(), nullptr);
            EXPECT_STREQ(e.getOtherException()->type(), "FileSystemException");
        }
        EXPECT_EQ(m_repository.content(), registered.content);
    };
    missing("deregistration", [&] { deregisterAll(m_repository); });
    missing("registration", [&] { registerList(m_repository, "\n"); });
    expectFailure<blocxx::FileSystemException>(
        ENOENT,
        "Cannot open \"" + oopFile("Disk").string() +
            "\": 2(No such file or directory)\n"
            "The provider \"sample:Disk\" of the product \"sample\" needs this file. Put one in "
            "its place:\n    echo '# lost' > " +
            oopFile("Disk").string() + "\n" + then(),
        [&] { listed(m_repository); });
    writeFile(oopFile("Disk"), "# lost\n");
    EXPECT_EQ(listed(m_repository).size(), 1U);
    deregisterAll(m_repository);
    expectState(m_before);
}

TEST_F(ProviderDeregistering, FileThatCannotBeRemovedStopsTheCommand) {
    class VanishingFile : public ProviderRegistrationFacility {
    public:
        VanishingFile(const CIMOMHandleIFCRef& handle, const String& prefix, CleanupActions_t& undo,
                      std::filesystem::path file)
            : ProviderRegistrationFacility(handle, "sample", prefix, undo),
              m_file(std::move(file)) {}
        void deRegisterProvider(const OOP1ProviderRegistration& registration) override {
            std::filesystem::remove(m_file);
            ProviderRegistrationFacility::deRegisterProvider(registration);
        }

    private:
        const std::filesystem::path m_file;
    };
    registerList(m_repository, entry("disk", registrationMof("Disk", MONITORED), "", PRIVILEGES));
    const State registered = state();
    for (const auto& file : {oopFile("Disk"), ownFile("Disk")}) {
        SCOPED_TRACE(file);
        m_undo.clear();
        const String content = readFile(file);
        VanishingFile facility(m_repository.handle(), m_tree.prefix(), m_undo, file);
        try {
            facility.registerProviders("");
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 14);
            EXPECT_THAT(e.getMessage(), StartsWith("Provider deregistration failed: "));
            EXPECT_THAT(e.getMessage(),
                        HasSubstr("IOException: 2: Failed to remove: " + file.string() +
                                  ": 2(No such file or directory)"));
        }
        executeCleanupActions(m_undo);
        EXPECT_THAT(m_log.errors(), IsEmpty());
        writeFile(file, content);
        expectState(registered);
    }
}

TEST_F(ProviderDeregistering, ReplacingMakesEveryProviderAfresh) {
    registerList(m_repository, entry("a", registrationMof("A"), providerMof(classMof("A"))) +
                                   entry("b", registrationMof("B"), ""));
    const State first = state();
    m_undo.clear();
    registerList(m_repository, entry("b", registrationMof("B"), providerMof(classMof("B"))) +
                                   entry("c", registrationMof("C"), ""));
    EXPECT_THAT(listed(m_repository),
                ::testing::UnorderedElementsAre(
                    "Sample_B,root:OpenWBEM_OOPProviderRegistration.InstanceID=\"sample:B\"",
                    "Sample_C,root:OpenWBEM_OOPProviderRegistration.InstanceID=\"sample:C\""));
    executeCleanupActions(m_undo);
    expectState(first);
    EXPECT_THAT(m_log.errors(), IsEmpty());
}

TEST_F(ProviderDeregistering, ReplacingAProviderByItselfLeavesAnEqualState) {
    const String list =
        entry("a", registrationMof("A", MONITORED), providerMof(HIERARCHY), PRIVILEGES);
    registerList(m_repository, list);
    const State first = state();
    registerList(m_repository, list);
    expectState(first);
}

TEST_F(ProviderDeregistering, BadListRemovesNothing) {
    const String list = entry("a", registrationMof("A"), providerMof(classMof("A")));
    registerList(m_repository, list);
    const State first = state();
    m_undo.clear();
    EXPECT_THROW(registerList(m_repository, list + "oop1,none,none\n"),
                 blocxx::FileSystemException);
    EXPECT_THROW(registerList(m_repository, list + "oops\n"), FennikException);
    expectState(first);
    EXPECT_TRUE(m_undo.empty());
}

TEST_F(ProviderDeregistering, OtherProductsKeepTheirProviders) {
    registerList(m_repository, entry("a", registrationMof("A"), ""));
    m_undo.clear();
    deregisterAll(m_repository, "samp");
    deregisterAll(m_repository, "Sample");
    EXPECT_TRUE(m_undo.empty());
    EXPECT_EQ(listed(m_repository).size(), 1U);
}

// Two providers of one product that depend on each other.

TEST_F(ProviderDeregistering, SharedQualifierType) {
    const String qualifier = "Qualifier Shared : boolean = false, Scope(any);\n";
    const auto cls = [](const char* name) {
        return String("[Shared] class Sample_") + name + " { [Key] string Id; };\n";
    };
    registerList(m_repository,
                 entry("a", registrationMof("A"), providerMof(qualifier + cls("A"))) +
                     entry("b", registrationMof("B"), providerMof(qualifier + cls("B"))));
    expectEitherOrderOfRemoval();
}

TEST_F(ProviderDeregistering, SubclassOfTheOthersClass) {
    const String base = entry("a", registrationMof("A"),
                              providerMof(classMof("A") + "instance of Sample_A { Id = \"a\"; };"));
    registerList(m_repository, base);
    const String derived =
        entry("b", registrationMof("B"),
              providerMof("class Sample_B : Sample_A { string More; };\n"
                          "instance of Sample_B { Id = \"b\"; More = \"m\"; };"));
    add(derived);
    expectEitherOrderOfRemoval();
}

TEST_F(ProviderDeregistering, InstanceOfTheOthersClass) {
    registerList(m_repository, entry("a", registrationMof("A"), providerMof(classMof("A"))));
    const String user =
        entry("b", registrationMof("B"), providerMof("instance of Sample_A { Id = \"b\"; };"));
    add(user);
    expectEitherOrderOfRemoval();
}

const String EMBEDDING =
    "Qualifier EmbeddedInstance : string = null, Scope(property);\n"
    "Qualifier EmbeddedObject : boolean = false, Scope(property);\n";

TEST_F(ProviderDeregistering, EmbeddedInstanceOfTheOthersClass) {
    registerList(m_repository,
                 entry("a", registrationMof("A"), providerMof(EMBEDDING + classMof("A"))));
    add(entry(
        "b", registrationMof("B"),
        providerMof("class Sample_B { [Key] string Id; [EmbeddedInstance(\"Sample_A\")] string "
                    "Held; };\ninstance of Sample_B { Id = \"b\"; Held = \"instance of "
                    "Sample_A { Id = \\\"a\\\"; };\"; };")));
    expectEitherOrderOfRemoval();
}

TEST_F(ProviderDeregistering, InstancesMadeLaterMayEmbedAClassThatGoesFirst) {
    registerList(
        m_repository,
        entry("disk", registrationMof("Disk"),
              providerMof(EMBEDDING +
                          "class Sample_B { [Key] string Id; [EmbeddedObject] string Held; };\n"
                          "class Sample_C { [Key] string Id; };")));
    create("sample",
           "instance of Sample_B { Id = \"later\"; Held = \"instance of Sample_C { };\"; };");
    expectRemovalAndUndo();
}

TEST_F(ProviderDeregistering, ClassThatSomebodyElseEmbedsStopsTheCommand) {
    registerList(m_repository,
                 entry("a", registrationMof("A"), providerMof(EMBEDDING + classMof("A"))));
    create("sample",
           "class Other { [Key] string Id; [EmbeddedObject] string Held; };\n"
           "instance of Other { Id = \"x\"; Held = \"instance of Sample_A { };\"; };");
    expectStopped(
        HasSubstr("property \"Held\" of instance Other.Id=\"x\": invalid class: there is no "
                  "class \"Sample_A\"\n"
                  "The provider \"sample:A\" of the product \"sample\" has brought the "
                  "class \"Sample_A\" of the namespace \"sample\", and what needs it "
                  "has to go first. Delete it:\n    owdeleteinstance --dest-dir " +
                  m_tree.prefix() + " -n sample OBJECTPATH\n" + then()));
}

TEST_F(ProviderDeregistering, ClassThatSomebodyElseDerivedFromStopsTheCommand) {
    registerList(m_repository, entry("a", registrationMof("A"), providerMof(classMof("A"))));
    create("sample", "class Other_A : Sample_A {};");
    expectStopped(
        AllOf(StartsWith("Provider deregistration failed: "),
              HasSubstr("CIMException: 8: class has children: the class Sample_A has "
                        "subclasses\n"
                        "The provider \"sample:A\" of the product \"sample\" has brought the "
                        "class \"Sample_A\" of the namespace \"sample\", and what is derived "
                        "from it has to go first: Other_A. Remove the provider that brought "
                        "it; or delete its instances, declare it in FILE without that "
                        "superclass and compile it:\n    owdeleteinstance --dest-dir " +
                        m_tree.prefix() + " -n sample OBJECTPATH...\n    owmofc --dest-dir " +
                        m_tree.prefix() + " -n sample FILE\n" + then())));
}

TEST_F(ProviderDeregistering, QualifierTypeThatSomebodyElseUsesStopsTheCommand) {
    registerList(m_repository,
                 entry("a", registrationMof("A"),
                       providerMof("Qualifier Mine : boolean = false, Scope(any);\n")));
    create("sample", "[Mine] class Other { [Key] string Id; };");
    expectStopped(
        HasSubstr("class Other uses it\n"
                  "The provider \"sample:A\" of the product \"sample\" has brought the "
                  "qualifier type \"Mine\" of the namespace \"sample\", and nothing "
                  "else may use it. Remove the provider that brought what uses it; or "
                  "declare that in FILE without it and compile it:\n"
                  "    owmofc --dest-dir " +
                  m_tree.prefix() + " -n sample FILE\n" + then()));
}

TEST_F(ProviderDeregistering, LogsEachStep) {
    const String qualifier = "Qualifier Mine : boolean = false, Scope(any);\n";
    registerList(m_repository, entry("disk", registrationMof("Disk", MONITORED),
                                     providerMof(qualifier + classMof("Disk") +
                                                 "instance of Sample_Disk { Id = \"1\"; };"),
                                     PRIVILEGES));
    m_log.clear();
    deregisterAll(m_repository);
    StringArray lines;
    for (const auto& message : m_log.messages()) {
        if (message.component == "fennik.deRegister") {
            EXPECT_STREQ(message.file, "FNProviderRegistrationFacility");
            lines.push_back(message.text);
        }
    }
    const String p = "ProviderRegistration: ";
    const String record =
        R"(kov:KOV_OOP1Provider.CreationClassName="KOV_OOP1Provider",Name="sample:Disk",ProductName="sample")";
    EXPECT_THAT(
        lines,
        ElementsAre(
            p + "Deleting association to sample's provider: " + record,
            p + "Deleting provider: " + record,
            p + "Deleting mof instance: sample:Sample_Disk.Id=\"1\"",
            p + "Iterating through instances of class: sample:Sample_Disk",
            p + "Deleting class: sample:Sample_Disk", p + "Deleting qualifier type: sample:Mine",
            p + R"(Deleting registration instance: root:OpenWBEM_OOPProviderRegistration.InstanceID="sample:Disk")",
            p + "Removing oop privilege file: " + oopFile("Disk").string(),
            p + "Removing privilege file: " + ownFile("Disk").string()));
    EXPECT_EQ(m_log.debugLines().front(), p + "Deregistering providers for \"sample\"");
}

TEST_F(ProviderDeregistering, UndoThatFailsTellsWhatToDoByHand) {
    registerList(m_repository, entry("disk", registrationMof("Disk"),
                                     providerMof("Qualifier Mine : boolean = false, Scope(any);\n" +
                                                 classMof("Disk"))));
    m_undo.clear();
    const String text = readFile(oopFile("Disk"));
    const CIMInstance registration =
        read(m_repository, "root", R"(OpenWBEM_OOPProviderRegistration.InstanceID="sample:Disk")");
    deregisterAll(m_repository);
    for (const char* operation : {"createInstance", "createClass", "setQualifierType"}) {
        m_repository.faults().failOperation(operation);
    }
    std::filesystem::create_directory(oopFile("Disk"));
    executeCleanupActions(m_undo);
    const String head =
        "The operation failed, and restoration to the previous state has also failed.\n";
    const String leadIn =
        "\nOnce the cause of the error has been resolved, to restore KOV to a valid state you "
        "should\n";
    const StringArray errors = m_log.errors();
    ASSERT_EQ(errors.size(), 6U);
    EXPECT_EQ(errors[0], head + "The attempt to open the file: " + oopFile("Disk").string() +
                             " failed with error:File exists" + leadIn +
                             "create the file with contents:\n" + text);
    const auto expected = [&](const String& attempt, const String& remedy) {
        return ::testing::AllOf(StartsWith(head + attempt), HasSubstr("injected fault"),
                                ::testing::EndsWith(leadIn + remedy + "\n"));
    };
    EXPECT_THAT(errors[1],
                expected("The attempt to create the instance:\n" + MOF::toMOF(registration) +
                             "\n in namespace root failed with error:\n",
                         "create the instance. The owmofc utility can be used."));
    EXPECT_THAT(errors[2], expected("The attempt to set the qualifier type sample:Qualifier Mine",
                                    "set the qualifier type. The owmofc utility can be used."));
    EXPECT_THAT(errors[3], expected("The attempt to create the class:\n",
                                    "create the class. The owmofc utility can be used."));
    for (size_t i : {4U, 5U}) {
        EXPECT_THAT(errors[i], expected("The attempt to create the instance:\ninstance of KOV_",
                                        "create the instance. The owmofc utility can be used."));
    }
}

}  // namespace
}  // namespace KOVNS2::Testing
