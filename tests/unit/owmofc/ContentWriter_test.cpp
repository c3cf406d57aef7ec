// SPDX-License-Identifier: Apache-2.0
//
// What owmofc does to a repository that holds some of it already.
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

    /// Compiles the texts one after the other in one unit of work; gives back the summary.
    String write(const StringArray& texts) {
        LocalRepository repository(m_directory);
        ContentWriter writer(repository);
        for (const String& text : texts) {
            const auto contents =
                MOF::compile({"MOF", text}, repository.handle(), "root", MOF::IncludeHandler());
            for (const auto& content : contents) {
                writer.write(content);
            }
        }
        repository.close();
        return writer.summary();
    }
    CIMException::ErrNoType failure(const StringArray& texts) {
        try {
            write(texts);
        } catch (const CIMException& e) {
            m_message = e.getMessage();
            return e.getErrNo();
        }
        ADD_FAILURE() << "nothing failed";
        return CIMException::FAILED;
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

TEST_F(ContentWriterTest, AChangeThatIsNotPossibleNamesTheClass) {
    write({QUALIFIERS + CLASS + "instance of A { k = \"1\"; };"});
    EXPECT_EQ(failure({"class A { [Key] string other; };"}), CIMException::CLASS_HAS_INSTANCES);
    EXPECT_NE(m_message.find("cannot write the class \"A\" in the namespace \"root\": "),
              String::npos);
}

TEST_F(ContentWriterTest, AFailureLeavesNothingOfTheEarlierTexts) {
    write({QUALIFIERS});
    EXPECT_EQ(failure({CLASS, "#pragma namespace(\"absent\")\nclass B {};"}),
              CIMException::INVALID_NAMESPACE);
    EXPECT_NE(m_message.find("the namespace \"absent\" does not exist"), String::npos);
    EXPECT_THROW(classA(), CIMException);
}

TEST_F(ContentWriterTest, EachNamespaceHasItsLine) {
    EXPECT_EQ(write({"class A {};\n#pragma namespace(\"other\")\nclass A {}; class B {};"}),
              "other: 0 qualifier types, 2 classes, 0 instances\n"
              "root: 0 qualifier types, 1 classes, 0 instances\n");
}

}  // namespace
}  // namespace OwMofc
