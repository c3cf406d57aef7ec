// SPDX-License-Identifier: Apache-2.0
//
// When something of a provider is gone, the message says how to repair it, and that works.
#include <gmock/gmock.h>

#include "blocxx/FileSystem.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class ProviderRepair : public ProviderFixture {
protected:
    ProviderRepair() : m_before(m_repository.content()) {}

    /// The message that listing fails with. Replacing and removing fail with it, too, and change
    /// nothing.
    String failure(int code) {
        const auto before = m_repository.content();
        m_undo.clear();
        String message;
        try {
            listed(m_repository);
            ADD_FAILURE() << "listed";
        } catch (const CIMException& e) {
            EXPECT_EQ(e.getErrorCode(), code);
            message = e.getMessage();
        }
        expectWrapped("Provider deregistration failed: ", message,
                      [&] { deregisterAll(m_repository); });
        expectWrapped("Provider registration failed: ", message,
                      [&] { registerList(m_repository, "\n"); });
        EXPECT_EQ(m_repository.content(), before);
        EXPECT_THAT(message,
                    EndsWith("Then register the providers of the product again, or remove "
                             "them:\n    fennik --kov-build-system-dest-dir " +
                             m_tree.prefix() + " --register-providers LIST --name sample\n"));
        return message;
    }

    /// Compiles the MOF in the message, between the explanation and the command.
    void follow(const String& ns, const String& message) {
        const size_t begin = message.find("compile it:\n") + String("compile it:\n").size();
        const size_t end = message.find("    owmofc --dest-dir " + m_tree.prefix() + " -n " + ns);
        ASSERT_LT(begin, end) << message;
        ASSERT_NE(end, String::npos) << message;
        compile(ns, message.substr(begin, end - begin));
    }

    /// Adds what the MOF declares to the repository.
    void compile(const String& ns, const String& mof) {
        const auto handle = m_repository.handle();
        Array<CIMInstance> instances;
        Array<CIMClass> classes;
        Array<CIMQualifierType> qualifierTypes;
        MOF::compileMOF(mof, handle, ns, instances, classes, qualifierTypes);
        for (const auto& qualifierType : qualifierTypes) {
            handle->setQualifierType(ns, qualifierType);
        }
        for (const auto& cls : classes) {
            handle->createClass(ns, cls);
        }
        for (const auto& instance : instances) {
            handle->createInstance(ns, instance);
        }
    }

    void expectRepaired() {
        EXPECT_THAT(listed(m_repository), SizeIs(1));
        deregisterAll(m_repository);
        EXPECT_EQ(m_repository.content(), m_before);
        EXPECT_THAT(privilegeFiles(), IsEmpty());
    }

    void remove(const String& ns, const String& path) {
        m_repository.handle()->deleteInstance(ns, CIMObjectPath::parse(path));
    }

    OpenRepository m_repository{m_tree};
    const std::map<String, String> m_before;

private:
    template <class Operation>
    void expectWrapped(const String& head, const String& message, Operation operation) {
        try {
            operation();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 14);
            EXPECT_THAT(e.getMessage(), StartsWith(head));
            EXPECT_THAT(e.getMessage(), HasSubstr(message));
        }
    }
};

constexpr const char* NEEDS = "\nThe provider \"sample:Disk\" of the product \"sample\" needs ";

TEST_F(ProviderRepair, RegistrationInstanceComesBackWithThePrivilegeFileThatIsThere) {
    for (const bool monitored : {false, true}) {
        SCOPED_TRACE(monitored);
        registerList(m_repository,
                     entry("disk", registrationMof("Disk", monitored ? MONITORED : MofProperties()),
                           "", monitored ? PRIVILEGES : ""));
        remove("root", R"(OpenWBEM_OOPProviderRegistration.InstanceID="sample:Disk")");
        const String message = failure(CIMException::NOT_FOUND);
        EXPECT_THAT(message,
                    StartsWith(R"(not found: there is no instance )"
                               R"(OpenWBEM_OOPProviderRegistration.InstanceID="sample:Disk")" +
                               String(NEEDS) +
                               "that instance of the namespace \"root\", which is gone. Write this "
                               "into FILE and compile it:\ninstance of "));
        EXPECT_EQ(message.find("MonitorPrivilegesFile") != String::npos, monitored);
        follow("root", message);
        expectRepaired();
    }
}

TEST_F(ProviderRepair, InstanceOfTheProviderMof) {
    registerList(m_repository, entry("disk", registrationMof("Disk"),
                                     providerMof(classMof("Disk") +
                                                 "instance of Sample_Disk { Id = \"it's\"; };")));
    remove("sample", R"(Sample_Disk.Id="it's")");
    const String message = failure(CIMException::NOT_FOUND);
    EXPECT_THAT(message, StartsWith(R"(not found: there is no instance Sample_Disk.Id="it's")" +
                                    String(NEEDS) + "that instance of the namespace \"sample\""));
    follow("sample", message);
    expectRepaired();
}

TEST_F(ProviderRepair, CapabilitiesThatNothingConnects) {
    registerList(m_repository,
                 entry("disk",
                       processMof("Disk") + instanceMof("OpenWBEM_OOPProviderCapabilities",
                                                        {{"InstanceID", "\"sample:Disk/x\""}}),
                       ""));
    remove("root", R"(OpenWBEM_OOPProviderCapabilities.InstanceID="sample:Disk/x")");
    const String message = failure(CIMException::NOT_FOUND);
    EXPECT_THAT(message, HasSubstr(String(NEEDS) + "that instance of the namespace \"root\""));
    follow("root", message);
    expectRepaired();
}

TEST_F(ProviderRepair, ConnectedCapabilitiesAreNotMissed) {
    registerList(m_repository, entry("disk", processWithCapabilitiesMof("Disk"), ""));
    remove("root", R"(OpenWBEM_OOPProviderCapabilities.InstanceID="sample:Disk-caps")");
    expectRepaired();
}

TEST_F(ProviderRepair, ProcessComesBackWithItsCapabilities) {
    registerList(m_repository, entry("disk", processWithCapabilitiesMof("Disk"), ""));
    remove("root", R"(OpenWBEM_OOPProviderProcess.InstanceID="sample:Disk")");
    follow("root", failure(CIMException::NOT_FOUND));
    expectRepaired();
}

TEST_F(ProviderRepair, ClassAndQualifierTypeComeBackWithTheProviderMof) {
    const String qualifier = "Qualifier Mine : boolean = false, Scope(any);\n";
    registerList(m_repository,
                 entry("disk", registrationMof("Disk"), providerMof(qualifier + classMof("Disk"))));
    const String compileAgain =
        "which is gone. Compile the provider MOF that it was registered with, which makes what is "
        "missing:\n    owmofc --dest-dir " +
        m_tree.prefix() + " FILE\n";
    m_repository.handle()->deleteClass("sample", "Sample_Disk");
    EXPECT_THAT(
        failure(CIMException::NOT_FOUND),
        HasSubstr(String(NEEDS) + "the class \"Sample_Disk\" of the namespace \"sample\", " +
                  compileAgain));
    compile("sample", classMof("Disk"));
    m_repository.handle()->deleteQualifierType("sample", "Mine");
    EXPECT_THAT(failure(CIMException::NOT_FOUND),
                HasSubstr(String(NEEDS) +
                          "the qualifier type \"Mine\" of the namespace "
                          "\"sample\", " +
                          compileAgain));
    compile("sample", qualifier);
    expectRepaired();
}

TEST_F(ProviderRepair, NamespaceComesBackByRegisteringIt) {
    registerList(m_repository,
                 entry("disk", registrationMof("Disk"), providerMof(classMof("Disk"))));
    deregisterNamespaces(m_repository.handle(), "sample", {"sample"});
    EXPECT_THAT(
        failure(CIMException::INVALID_NAMESPACE),
        StartsWith("invalid namespace: there is no namespace \"sample\"" + String(NEEDS) +
                   "the namespace \"sample\", which is gone. Register it again for its users, and "
                   "compile the provider MOF that the provider was registered with:\n"
                   "    fennik --kov-build-system-dest-dir " +
                   m_tree.prefix() +
                   " --register-namespace sample --name sample --username USER\n"
                   "    owmofc --dest-dir " +
                   m_tree.prefix() + " FILE\n"));
    CleanupActions_t undo;
    registerNamespaces(m_repository.handle(), "sample", {"alice"}, {}, {"sample"}, m_tree.prefix(),
                       undo);
    compile("sample", classMof("Disk"));
    EXPECT_THAT(listed(m_repository), SizeIs(1));
    deregisterAll(m_repository);
    EXPECT_THAT(listed(m_repository), IsEmpty());
}

TEST_F(ProviderRepair, NamesAreSingleWordsOfTheCommandsWhateverIsInThem) {
    const String id = "sample:'; rm x; '";
    registerList(m_repository,
                 entry("disk", registrationMof("Disk", {{"InstanceID", "\"" + id + "\""}}), ""));
    const auto file = m_tree.privilegeDirectory() / "owcimomd" / "oop1-sample__;_rm_x;__";
    ASSERT_TRUE(std::filesystem::remove(file));
    try {
        listed(m_repository);
        ADD_FAILURE() << "listed";
    } catch (const blocxx::FileSystemException& e) {
        EXPECT_THAT(e.getMessage(), HasSubstr("echo '# lost' > '" + file.string() + "'\n"));
    }
}

}  // namespace
}  // namespace KOVNS2::Testing
