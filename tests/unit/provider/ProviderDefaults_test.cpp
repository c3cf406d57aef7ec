// SPDX-License-Identifier: Apache-2.0
//
// Replacing providers whose classes change: an instance gets the defaults of the class that another
// provider of the same list declares, not those of the replaced class.
#include <gmock/gmock.h>

#include "tests/unit/provider/ProviderFixture.hpp"

namespace KOVNS2::Testing {
namespace {

String disk(const String& body) {
    return providerMof("class Sample_Disk {\n [Key] string Id;\n" + body + "\n};\n");
}

class ProviderDefaults : public ProviderFixture {
protected:
    /// Registers the class with one provider and `rest` with another, which is compiled against the
    /// class that is in the repository.
    void replace(const String& classBody, const String& rest) {
        registerList(m_repository, entry("disk", registrationMof("Disk"), disk(classBody)) +
                                       entry("more", registrationMof("More"), providerMof(rest)));
        m_undo.clear();
    }
    /// Registers the class alone.
    void begin(const String& classBody) {
        registerList(m_repository, entry("disk", registrationMof("Disk"), disk(classBody)));
        m_undo.clear();
    }
    CIMInstance stored(const String& id, const String& className = "Sample_Disk") {
        return read(m_repository, "sample", className + ".Id=\"" + id + '"');
    }

    OpenRepository m_repository{m_tree};
};

TEST_F(ProviderDefaults, ArriveWithTheFirstRun) {
    begin("string Text = \"old\"; uint8 Number = 1;");
    const String instances =
        "instance of Sample_Disk { Id = \"absent\"; Number = 7; };\n"
        "instance of Sample_Disk { Id = \"null\"; Text = NULL; };\n"
        "instance of Sample_Disk { Id = \"old\"; Text = \"old\"; };\n";
    replace("string Text = \"new\"; uint8 Number = 2; uint8 Added = 3;", instances);
    EXPECT_EQ(stored("absent").getPropertyValue("Text"), CIMValue("new"));
    EXPECT_EQ(stored("absent").getPropertyValue("Number"), CIMValue(uint8_t{7}));
    EXPECT_EQ(stored("absent").getPropertyValue("Added"), CIMValue(uint8_t{3}));
    EXPECT_TRUE(stored("null").getPropertyValue("Text").isNull());
    EXPECT_EQ(stored("null").getPropertyValue("Number"), CIMValue(uint8_t{2}));
    EXPECT_EQ(stored("old").getPropertyValue("Text"), CIMValue("old"));

    const auto first = m_repository.content();
    replace("string Text = \"new\"; uint8 Number = 2; uint8 Added = 3;", instances);
    EXPECT_EQ(m_repository.content(), first) << "a second run has nothing to add";
}

TEST_F(ProviderDefaults, OfAPropertyThatIsGoneAreNotMissed) {
    begin("string Text = \"old\"; string Plain;");
    replace("string Other;", "instance of Sample_Disk { Id = \"1\"; };");
    EXPECT_EQ(stored("1").getProperties().size(), 2U);
}

TEST_F(ProviderDefaults, PropertyThatIsGoneAndNamedEndsTheRun) {
    begin("string Text = \"old\";");
    const auto before = m_repository.content();
    for (const char* value : {"\"x\"", "NULL"}) {
        try {
            registerList(m_repository,
                         entry("disk", registrationMof("Disk"), disk("string Other;")) +
                             entry("more", registrationMof("More"),
                                   providerMof(String("instance of Sample_Disk { Id = \"1\"; Text "
                                                      "= ") +
                                               value + "; };")));
            ADD_FAILURE() << "nothing was thrown";
        } catch (const FennikException& e) {
            EXPECT_EQ(e.getErrorCode(), 14);
            EXPECT_THAT(e.getMessage(),
                        ::testing::HasSubstr("class Sample_Disk has no property \"Text\""));
        }
        EXPECT_EQ(m_repository.content(), before);
        m_undo.clear();
    }
}

TEST_F(ProviderDefaults, OfASuperclassArriveInSubclasses) {
    begin("string Text = \"old\";");
    replace("string Text = \"new\";",
            "class Sample_Sub : Sample_Disk { string More = \"more\"; };\n"
            "instance of Sample_Sub { Id = \"1\"; };");
    EXPECT_EQ(stored("1", "Sample_Sub").getPropertyValue("Text"), CIMValue("new"));
    EXPECT_EQ(stored("1", "Sample_Sub").getPropertyValue("More"), CIMValue("more"));
}

TEST_F(ProviderDefaults, ArriveInEmbeddedInstances) {
    begin("string Text = \"old\"; string Gone = \"old\";");
    replace(
        "string Text = \"new\"; string Added;",
        "Qualifier EmbeddedInstance : string = null, Scope(property);\n"
        "Qualifier EmbeddedObject : boolean = false, Scope(property), Flavor(DisableOverride);\n"
        "class Sample_Holder { [Key] string Id; [EmbeddedInstance(\"Sample_Disk\")] string Held;\n"
        "  [EmbeddedObject] string All[]; };\n"
        "instance of Sample_Holder { Id = \"1\"; Held = \"{ };\";\n"
        "  All = {\"instance of Sample_Disk { Text = NULL; };\"}; };");
    const CIMInstance holder = stored("1", "Sample_Holder");
    const auto held = holder.getPropertyValue("Held").get<CIMInstance>();
    EXPECT_EQ(held.getPropertyValue("Text"), CIMValue("new"));
    EXPECT_EQ(held.getProperties().size(), 3U);
    const auto inAll = holder.getPropertyValue("All").getElement(0).get<CIMInstance>();
    EXPECT_TRUE(inAll.getPropertyValue("Text").isNull());
    EXPECT_EQ(inAll.getProperties().size(), 3U);
}

}  // namespace
}  // namespace KOVNS2::Testing
