// SPDX-License-Identifier: Apache-2.0
//
// What owmofc does with objects that are in the repository already.
#include "utilities/owmofc/ContentWriter.hpp"
#include "utilities/common/LocalRepository.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

namespace OwMofc {
namespace {

const String QUALIFIERS =
    "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);\n";
const String CLASS = "class A { [Key] string k; uint8 v = 1; };";

class ContentWriterTest : public ::testing::Test {
protected:
    ContentWriterTest() {
        std::filesystem::create_directories(m_directory);
        CIMRepository::create(m_directory);
        LocalRepository repository(m_directory);
        repository.namespaces().createNameSpace("root");
        repository.namespaces().createNameSpace("other");
        repository.close();
    }
    ~ContentWriterTest() override { std::filesystem::remove_all(m_directory); }

    /// Compiles and writes the texts one after the other in one unit of work. Returns the summary.
    String write(const StringArray& texts) {
        LocalRepository repository(m_directory);
        ContentWriter writer(repository);
        for (const String& text : texts) {
            const auto contents = MOF::compile({"MOF", text}, repository.handle(), "root",
                                               MOF::IncludeHandler(), MOF::Defaults::LEFT_OUT);
            for (const auto& content : contents) {
                writer.write(content);
            }
        }
        repository.close();
        return writer.summary();
    }
    /// The CIM status of the failure to write the texts. The message is in m_message.
    int failure(const StringArray& texts) {
        try {
            write(texts);
        } catch (const MOF::MOFCompilerException& e) {
            m_message = e.getMessage();
            return e.getErrorCode();
        }
        ADD_FAILURE() << "nothing failed";
        return 0;
    }
    CIMClass classA() {
        LocalRepository repository(m_directory);
        CIMOMHandleIFC& handle = *repository.handle();
        return handle.getClass("root", "A");
    }
    Array<CIMInstance> instances() {
        LocalRepository repository(m_directory);
        return repository.handle()->enumInstancesA("root", "A");
    }

    const String m_directory = ::testing::TempDir() + "owmofc_" + std::to_string(::getpid());
    String m_message;
};

TEST_F(ContentWriterTest, LaterTextsSeeWhatEarlierOnesDeclared) {
    EXPECT_EQ(write({QUALIFIERS, CLASS, "instance of A { k = \"1\"; };"}),
              "root: 1 qualifier types, 1 classes, 1 instances\n");
    EXPECT_EQ(instances().size(), 1U);
}

TEST_F(ContentWriterTest, WritingTheSameAgainChangesNothing) {
    const StringArray texts{QUALIFIERS + CLASS + "class B : A {}; instance of B { k = \"1\"; };"};
    const String first = write(texts);
    EXPECT_EQ(write(texts), first);
    EXPECT_EQ(instances().size(), 1U);
}

TEST_F(ContentWriterTest, WhatDiffersIsModified) {
    write({QUALIFIERS + CLASS + "instance of A { k = \"1\"; v = 2; };"});
    write({"instance of A { k = \"1\"; v = 3; };"});
    EXPECT_EQ(instances().at(0).getPropertyValue("v"), CIMValue(uint8_t{3}));
    write({"class A { [Key] string k; uint8 v = 1; string more; };"});
    EXPECT_NE(classA().getProperty("more"), nullptr);
}

TEST_F(ContentWriterTest, InstancesGetTheDefaultsThatTheTextBrings) {
    write({QUALIFIERS + CLASS + "class B : A {};"});
    const String instances =
        "instance of B { k = \"b\"; }; instance of A { k = \"a\"; };\n"
        "instance of B { k = \"null\"; v = NULL; };";
    write({"class A { [Key] string k; uint8 v = 2; };\n" + instances});
    const auto values = [&] {
        std::map<String, CIMValue> found;
        for (const CIMInstance& instance : this->instances()) {
            found[instance.getPropertyValue("k").toString()] = instance.getPropertyValue("v");
        }
        return found;
    };
    const auto expected = [](uint8_t value) {
        return std::map<String, CIMValue>{
            {"a", CIMValue(value)}, {"b", CIMValue(value)}, {"null", CIMValue()}};
    };
    EXPECT_EQ(values(), expected(2));
    write({"class A { [Key] string k; uint8 v = 3; };\n" + instances});
    EXPECT_EQ(values(), expected(3)) << "instances that are there are written anew";
}

TEST_F(ContentWriterTest, InstancesDoNotNeedAPropertyThatTheTextTakesAway) {
    write({QUALIFIERS + CLASS + "class B : A {};"});
    write({"class A { [Key] string k; };\ninstance of B { k = \"b\"; };"});
    EXPECT_EQ(instances().at(0).getProperties().size(), 1U);
}

TEST_F(ContentWriterTest, AChangeThatIsNotPossibleIsToldAtTheClass) {
    write({QUALIFIERS + CLASS + "instance of A { k = \"1\"; };"});
    EXPECT_EQ(failure({"class A { [Key] string other; };"}), CIMException::CLASS_HAS_INSTANCES);
    EXPECT_EQ(m_message,
              "MOF:1:7: error: cannot write the class \"A\" in the namespace \"root\": the change "
              "would make instances of class A invalid: they have the property \"k\"\n"
              "class A { [Key] string other; };\n"
              "      ^");
}

TEST_F(ContentWriterTest, AnInstanceWithoutAPathIsToldAtItsClass) {
    EXPECT_EQ(failure({"class A { string s; };", "\n  instance of A { };"}),
              CIMException::INVALID_PARAMETER);
    EXPECT_EQ(m_message,
              "MOF:2:15: error: cannot write the instance \"A\" in the namespace \"root\": class A "
              "has no "
              "key, so its instances could not be told apart\n"
              "  instance of A { };\n"
              "              ^");
}

TEST_F(ContentWriterTest, AQualifierTypeInUseIsToldAtItsName) {
    write({QUALIFIERS + CLASS});
    EXPECT_EQ(failure({"Qualifier Key : string, Scope(any);"}), CIMException::FAILED);
    EXPECT_EQ(
        m_message,
        "MOF:1:11: error: cannot set the qualifier type \"Key\" in the namespace \"root\": the "
        "qualifier type \"Key\" cannot be replaced by that one: class A uses it\n"
        "Qualifier Key : string, Scope(any);\n"
        "          ^");
}

TEST_F(ContentWriterTest, AFailureLeavesNothingOfTheEarlierTexts) {
    write({QUALIFIERS});
    EXPECT_EQ(failure({CLASS, "#pragma namespace(\"absent\")\nclass B {};"}),
              CIMException::INVALID_NAMESPACE);
    EXPECT_EQ(m_message,
              "MOF:1:19: error: the namespace \"absent\" does not exist\n"
              "#pragma namespace(\"absent\")\n"
              "                  ^");
    EXPECT_THROW(classA(), CIMException);
}

TEST_F(ContentWriterTest, AMissingNamespaceIsToldWithoutWriting) {
    LocalRepository repository(m_directory);
    const ContentWriter writer(repository);
    const auto contents = MOF::compile({"MOF",
                                        "class A {};\n#pragma namespace(\"absent\")\n"
                                        "#pragma namespace(\"other\")\nclass B {};\n"
                                        "#pragma namespace(\"gone\")\nclass C {};"},
                                       {}, "root", MOF::IncludeHandler());
    ASSERT_EQ(contents.size(), 4U);
    writer.requireNameSpace(contents[0]);
    writer.requireNameSpace(contents[1]);  // nothing is declared in it
    writer.requireNameSpace(contents[2]);
    EXPECT_THROW(writer.requireNameSpace(contents[3]), MOF::MOFCompilerException);
}

TEST_F(ContentWriterTest, EachNamespaceHasItsLine) {
    EXPECT_EQ(write({"class A {};\n#pragma namespace(\"other\")\nclass A {}; class B {};"}),
              "other: 0 qualifier types, 2 classes, 0 instances\n"
              "root: 0 qualifier types, 1 classes, 0 instances\n");
}

}  // namespace
}  // namespace OwMofc
