// SPDX-License-Identifier: Apache-2.0
//
// Associations in a registration MOF may lead to the process and the capabilities of that file and
// to nothing else.
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

constexpr int INVALID_INPUT = 14;

const String PROCESS = R"(OpenWBEM_OOPProviderProcess.InstanceID="sample:Proc")";
const String CAPABILITIES = R"(OpenWBEM_OOPProviderCapabilities.InstanceID="sample:caps")";

String capabilitiesMof(const String& id) {
    return instanceMof("OpenWBEM_OOPProviderCapabilities", {{"InstanceID", '"' + id + '"'}});
}

String associationMof(const String& process, const String& capabilities) {
    return instanceMof("OpenWBEM_OOPProviderProcessCapabilities",
                       {{"ManagedElement", MOF::toMOFString(process)},
                        {"Capabilities", MOF::toMOFString(capabilities)}});
}

class ProviderAssociations : public ProviderFixture {
protected:
    void create(const String& mof) {
        Array<CIMInstance> instances;
        Array<CIMClass> classes;
        Array<CIMQualifierType> qualifierTypes;
        MOF::compileMOF(mof, m_repository.handle(), "root", instances, classes, qualifierTypes);
        for (const auto& cls : classes) {
            m_repository.handle()->createClass("root", cls);
        }
        for (const auto& instance : instances) {
            m_repository.handle()->createInstance("root", instance);
        }
    }

    void compile(const String& regMof) {
        m_facility.buildInstancesForOOPRegistration(regMof, "PATH",
                                                    ProviderRegistrationFacility::E_NOT_MONITORED);
    }

    void refuse(const String& regMof, const String& association, const String& foreign) {
        SCOPED_TRACE(regMof);
        const auto before = m_repository.content();
        expectFailure(INVALID_INPUT,
                      "PATH: the association " + association + " names " + foreign +
                          ", which that file does not declare.  Associations in a registration "
                          "MOF connect the process and the capabilities of the same file.",
                      [&] { compile(regMof); });
        EXPECT_EQ(m_repository.content(), before);
    }

    /// Expects that an association between these is refused when it is the last instance of a MOF.
    void refuseBetween(const String& process, const String& capabilities, const String& foreign) {
        CIMObjectPath path("OpenWBEM_OOPProviderProcessCapabilities");
        path.setKeyValue("ManagedElement", CIMValue(CIMObjectPath::parse(process)))
            .setKeyValue("Capabilities", CIMValue(CIMObjectPath::parse(capabilities)));
        refuse(processMof("Proc") + capabilitiesMof("sample:caps") +
                   associationMof(process, capabilities),
               path.modelPath(), foreign);
    }

    OpenRepository m_repository{m_tree};
    ProviderRegistrationFacility m_facility{m_repository.handle(), "sample", m_tree.prefix(),
                                            m_undo};
};

TEST_F(ProviderAssociations, MayLeadToWhatTheFileDeclaresInAnySpelling) {
    for (const String& process :
         {PROCESS, "root:" + PROCESS, "ROOT:" + PROCESS,
          String(R"(openwbem_oopproviderprocess.INSTANCEID="sample:Proc")")}) {
        for (const String& capabilities :
             {CAPABILITIES, "Root:" + CAPABILITIES,
              String(R"(OPENWBEM_OOPPROVIDERCAPABILITIES.instanceid="sample:caps")")}) {
            const String association = associationMof(process, capabilities);
            SCOPED_TRACE(association);
            EXPECT_NO_THROW(
                compile(processMof("Proc") + capabilitiesMof("sample:caps") + association));
            // After the process, the order of declarations does not matter.
            EXPECT_NO_THROW(
                compile(processMof("Proc") + association + capabilitiesMof("sample:caps")));
        }
    }
}

TEST_F(ProviderAssociations, MayUseAliases) {
    EXPECT_NO_THROW(
        compile("instance of OpenWBEM_OOPProviderProcess as $P { InstanceID = \"sample:P\";\n"
                "  Process = \"/p\"; Protocol = \"owcpp1\"; UserContext = 3; };\n"
                "instance of OpenWBEM_OOPProviderCapabilities as $C { InstanceID = \"c\"; };\n"
                "instance of OpenWBEM_OOPProviderProcessCapabilities {\n"
                "  ManagedElement = $P; Capabilities = $C; };"));
}

TEST_F(ProviderAssociations, MayNotLeadToWhatIsDeclaredNowhere) {
    const String other = R"(OpenWBEM_OOPProviderProcess.InstanceID="other:Proc")";
    refuseBetween(other, CAPABILITIES, other);
    const String none = R"(OpenWBEM_OOPProviderCapabilities.InstanceID="sample:Caps")";
    refuseBetween(PROCESS, none, none);
}

TEST_F(ProviderAssociations, MayNotLeadToCapabilitiesOfAnotherProcess) {
    registerList(m_repository, entry("other", processWithCapabilitiesMof("Other"), ""));
    const String foreign = R"(OpenWBEM_OOPProviderCapabilities.InstanceID="sample:Other-caps")";
    refuseBetween(PROCESS, foreign, foreign);
    refuseBetween(PROCESS, "root:" + foreign, "root:" + foreign);
}

TEST_F(ProviderAssociations, MayNotLeadToCapabilitiesOfAnotherFileOfTheList) {
    const String foreign = R"(OpenWBEM_OOPProviderCapabilities.InstanceID="sample:B-caps")";
    const String thief =
        processMof("A") +
        associationMof(R"(OpenWBEM_OOPProviderProcess.InstanceID="sample:A")", foreign);
    const auto before = m_repository.content();
    for (const bool first : {true, false}) {
        const String a = entry("a", thief, "");
        const String b = entry("b", processWithCapabilitiesMof("B"), "");
        EXPECT_THROW(registerList(m_repository, first ? a + b : b + a), FennikException);
        EXPECT_EQ(m_repository.content(), before);
        EXPECT_TRUE(privilegeFiles().empty());
    }
}

TEST_F(ProviderAssociations, MayNotLeadOutOfTheNamespaceOrTheHost) {
    refuseBetween(PROCESS, "kov:" + CAPABILITIES, "kov:" + CAPABILITIES);
    refuseBetween("//host/root:" + PROCESS, CAPABILITIES, "//host/root:" + PROCESS);
}

// Associations of any class are checked.
TEST_F(ProviderAssociations, OfAnyClassMayNotLeadElsewhere) {
    create(
        "[Association] class Sample_Use : OpenWBEM_OOPProviderProcessCapabilities {};\n"
        "class Sample_Thing { [Key] string Id; [Key] uint8 Number; };\n"
        "[Association] class Sample_Link { [Key] string Id; OpenWBEM_OOPProviderProcess REF By;\n"
        "  Sample_Thing REF To; };\n"
        "instance of Sample_Thing { Id = \"theirs\"; Number = 1; };");
    refuse(processMof("Proc") +
               instanceMof("Sample_Use", {{"ManagedElement", MOF::toMOFString(PROCESS)},
                                          {"Capabilities", MOF::toMOFString(CAPABILITIES)}}),
           "Sample_Use.ManagedElement=" + MOF::toMOFString(PROCESS) +
               ",Capabilities=" + MOF::toMOFString(CAPABILITIES),
           CAPABILITIES);
    const auto link = [](const String& to) {
        return instanceMof(
            "Sample_Link",
            {{"Id", "\"l\""}, {"By", MOF::toMOFString(PROCESS)}, {"To", MOF::toMOFString(to)}});
    };
    const String process = processMof("Proc");
    refuse(process + link("Sample_Thing.Id=\"theirs\",Number=1"), "Sample_Link.Id=\"l\"",
           "Sample_Thing.Id=\"theirs\",Number=1");
    const String own = instanceMof("Sample_Thing", {{"Id", "\"mine\""}, {"Number", "2"}});
    EXPECT_NO_THROW(compile(process + own + link("Sample_Thing.number=2,ID=\"mine\"")));
}

}  // namespace
}  // namespace KOVNS2::Testing
