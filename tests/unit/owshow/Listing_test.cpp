// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/Listing.hpp"

#include <gtest/gtest.h>

#include "openwbem/mof/MOFCompiler.hpp"
#include "tests/unit/fennik/TemporaryDirectory.hpp"
#include "utilities/common/LocalRepository.hpp"

namespace OwShow {
namespace {

// Names in another order than that of their bytes, and values that only escapes can hold.
const String CONTENT = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
Qualifier Description : string = null, Scope(any), Flavor(Translatable);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride);
[Description ("The top.")]
class Zebra { [Key] string id; string text = "default"; uint8 numbers[] = {1, 2}; };
class Ape : Zebra { string text = "other"; uint32 count([Description ("What.")] string what); };
[Association] class Link { [Key] Zebra REF from; [Key] Zebra REF to; };
instance of Zebra { id = "b"; text = "a\"b\\c\nd\x001B"; numbers = null; };
instance of Ape { id = "a"; };
instance of Link { from = "Zebra.id=\"b\""; to = "Ape.id=\"a\""; };
)";

class ListingTest : public ::testing::Test {
protected:
    ListingTest() {
        CIMRepository::create(directory());
        LocalRepository repository(directory());
        repository.namespaces().createNameSpace("root");
        repository.namespaces().createNameSpace("Other");
        repository.close();
        compile("root", CONTENT);
    }

    String directory() const { return m_directory.path().string(); }

    void compile(const String& ns, const String& mof) {
        LocalRepository repository(directory());
        const auto contents = MOF::compile({"MOF", mof}, repository.handle(), ns,
                                           MOF::IncludeHandler(), MOF::Defaults::LEFT_OUT);
        for (const MOF::NamespaceContent& content : contents) {
            repository.store(content.nameSpace,
                             {content.qualifierTypes, content.classes, content.instances});
        }
        repository.close();
    }

    /// What `print` passes to its sink.
    template <class Print>
    String printed(Print print) {
        LocalRepository repository(directory());
        String text;
        const Sink sink = [&](std::string_view piece) { text += piece; };
        print(repository, sink);
        return text;
    }
    String names(Kind kind, const String& ns = "root", const String& className = "") {
        return printed([&](const Repository& repository, const Sink& out) {
            listNames(*repository.handle(), {kind, ns, className}, out);
        });
    }
    String mof(Kind kind, const String& ns = "root", const String& className = "") {
        return printed([&](const Repository& repository, const Sink& out) {
            listMOF(*repository.handle(), {kind, ns, className}, out);
        });
    }
    String everything(const String& ns) {
        return mof(Kind::QUALIFIER_TYPES, ns) + mof(Kind::CLASSES, ns) + mof(Kind::INSTANCES, ns);
    }
    String object(const String& path) {
        return printed([&](const Repository& repository, const Sink& out) {
            showObject(*repository.handle(), CIMObjectPath::parse(path), out);
        });
    }

    KOVNS2::Testing::TemporaryDirectory m_directory;
};

TEST_F(ListingTest, NamesAreSorted) {
    EXPECT_EQ(names(Kind::QUALIFIER_TYPES), "Association\nDescription\nKey\n");
    EXPECT_EQ(names(Kind::CLASSES), "Ape\nLink\nZebra\n");
    EXPECT_EQ(names(Kind::INSTANCES),
              "root:Ape.id=\"a\"\n"
              "root:Link.from=\"root:Zebra.id=\\\"b\\\"\",to=\"root:Ape.id=\\\"a\\\"\"\n"
              "root:Zebra.id=\"b\"\n");
    EXPECT_EQ(printed([](const Repository& repository, const Sink& out) {
                  listNamespaces(repository, out);
              }),
              "Other\nroot\n");
}

TEST_F(ListingTest, InstancesOfAClassAreThoseOfItsSubclassesToo) {
    EXPECT_EQ(names(Kind::INSTANCES, "root", "zebra"), "root:Ape.id=\"a\"\nroot:Zebra.id=\"b\"\n");
    EXPECT_EQ(names(Kind::INSTANCES, "root", "Ape"), "root:Ape.id=\"a\"\n");
}

TEST_F(ListingTest, NameWithALineFeedStaysOnItsLine) {
    compile("root", R"(instance of Ape { id = "x\ny"; };)");
    EXPECT_EQ(names(Kind::INSTANCES, "root", "Ape"), "root:Ape.id=\"a\"\nroot:Ape.id=\"x\\ny\"\n");
}

TEST_F(ListingTest, SuperclassesComeFirstInMOF) {
    const String text = mof(Kind::CLASSES);
    EXPECT_LT(text.find("class Zebra"), text.find("class Ape : Zebra"));
}

TEST_F(ListingTest, MOFOfANamespaceCompilesToEqualObjects) {
    const String text = everything("root");
    compile("Other", text);
    EXPECT_EQ(everything("Other"), text);
    EXPECT_NE(text.find("instance of Link"), String::npos);
}

TEST_F(ListingTest, ClassIsShownWithoutWhatItInherits) {
    const String text = object("root:ape");
    EXPECT_EQ(text.find(" id"), String::npos);
    EXPECT_NE(text.find("class Ape : Zebra\n{\n"), String::npos);
    EXPECT_NE(text.find("    string text = \"other\";\n"), String::npos);
}

TEST_F(ListingTest, InstanceIsShownWithAllItsProperties) {
    EXPECT_EQ(object("root:Zebra.id=\"b\""),
              "instance of Zebra\n{\n"
              "    id = \"b\";\n"
              "    text = \"a\\\"b\\\\c\\nd\\x001B\";\n"
              "    numbers = NULL;\n"
              "};\n");
}

TEST_F(ListingTest, FailureSaysWhatWasAttempted) {
    try {
        names(Kind::INSTANCES, "nowhere", "Ape");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const CIMException& e) {
        EXPECT_EQ(e.getErrNo(), CIMException::INVALID_NAMESPACE);
        EXPECT_EQ(String(e.getMessage())
                      .find("invalid namespace: cannot list the instances of the class \"Ape\" in "
                            "the namespace \"nowhere\": "),
                  0U)
            << e.getMessage();
    }
}

}  // namespace
}  // namespace OwShow
