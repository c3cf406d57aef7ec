// SPDX-License-Identifier: Apache-2.0
//
// Texts from several sources and for several namespaces.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "blocxx/FileSystem.hpp"
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

struct Sources {
    std::map<String, String> texts;

    Array<NamespaceContent> compileRoot() {
        return compile({"root.mof", texts.at("root.mof")}, {}, "root",
                       [this](const String& name, const String&) {
                           if (texts.count(name) == 0) {
                               BLOCXX_THROW(blocxx::IOException, "no file " + name);
                           }
                           return Source{name, texts[name]};
                       });
    }
    String failure() {
        try {
            compileRoot();
            return {};
        } catch (const MOFCompilerException& e) {
            return e.getMessage();
        }
    }
};

TEST(MofIncludeTest, IncludedDeclarationsStandWhereThePragmaDoes) {
    Sources s{{{"root.mof", "class A {};\n#pragma include (\"b.mof\") class D {};"},
               {"b.mof", "#pragma include(\"c.\" \"mof\")\nclass C {};"},
               {"c.mof", "class B {};"}}};
    const auto contents = s.compileRoot();
    ASSERT_EQ(contents.size(), 1U);
    String names;
    for (const CIMClass& cls : contents[0].classes) {
        names += cls.getName();
    }
    EXPECT_EQ(names, "ABCD");
}

TEST(MofIncludeTest, TextsThatAreTooLargeTogetherAreRefusedUnread) {
    constexpr size_t MOST = 256U << 20U;
    Sources s{{{"root.mof", "#pragma include (\"small.mof\")\n#pragma include (\"large.mof\")"},
               {"small.mof", String(1000, ' ')},
               {"large.mof", String(MOST - 999, ' ')}}};
    EXPECT_EQ(s.failure(),
              "root.mof:2:18: error: too many includes: the texts are larger than 268435456 bytes "
              "together\n"
              "#pragma include (\"large.mof\")\n"
              "                 ^");
}

TEST(MofIncludeTest, ErrorsAreToldInTheirOwnSource) {
    Sources s{{{"root.mof", "#pragma include (\"b.mof\")"}, {"b.mof", "\nclass {};"}}};
    EXPECT_EQ(s.failure(),
              "b.mof:2:7: error: expected a name or a data type after 'class'; found '{'\n"
              "class {};\n"
              "      ^");
    Sources missing{{{"root.mof", "class A {};\n#pragma include (\"x.mof\")"}}};
    EXPECT_EQ(missing.failure(),
              "root.mof:2:18: error: no file x.mof\n"
              "#pragma include (\"x.mof\")\n"
              "                 ^");
}

TEST(MofIncludeTest, CirclesAndFloodsEndInOneError) {
    Sources circle{
        {{"root.mof", "#pragma include(\"b\")"}, {"b", "#pragma include(\"root.mof\")"}}};
    EXPECT_NE(circle.failure().find("b:1:17: error: \"root.mof\" includes itself"), String::npos);
    Sources deep{{{"root.mof", "#pragma include(\"0\")"}}};
    Sources wide{{{"root.mof", "#pragma include(\"0\")"}}};
    for (int i = 0; i < 200; ++i) {
        const String next = "#pragma include(\"" + std::to_string(i + 1) + "\")\n";
        deep.texts[std::to_string(i)] = next;
        wide.texts[std::to_string(i)] = i < 40 ? next + next : "";
    }
    EXPECT_NE(deep.failure().find("too many includes"), String::npos);
    EXPECT_NE(wide.failure().find("too many includes"), String::npos);
}

TEST(MofIncludeTest, NamespacesComeInTheOrderOfTheirFirstMention) {
    Sources s{{{"root.mof",
                "class A {};\n#pragma namespace(\"one\")\nclass A {};\n"
                "#pragma include(\"b\")\nclass C {};\n#pragma namespace(\"ROOT\")\nclass D {};"},
               {"b", "#pragma namespace (\"two\") class B {};"}}};
    const auto contents = s.compileRoot();
    ASSERT_EQ(contents.size(), 3U);
    EXPECT_EQ(contents[0].nameSpace, "root");
    EXPECT_EQ(contents[0].classes.size(), 2U);
    EXPECT_EQ(contents[1].nameSpace, "one");
    EXPECT_EQ(contents[1].classes.size(), 1U);
    EXPECT_EQ(contents[2].nameSpace, "two");
    EXPECT_EQ(contents[2].classes.size(), 2U);
}

// DSP0004 7.11: the included text takes the place of the pragma.
TEST(MofIncludeTest, ANamespaceEnteredInAnIncludedTextHoldsBehindIt) {
    Sources s{{{"root.mof", "#pragma include(\"b\") class A {};"},
               {"b", "#pragma include(\"c\")"},
               {"c", "class B {}; #pragma namespace (\"deep\")"}}};
    const auto contents = s.compileRoot();
    ASSERT_EQ(contents.size(), 2U);
    EXPECT_EQ(contents[0].classes.at(0).getName(), "B");
    EXPECT_EQ(contents[1].nameSpace, "deep");
    EXPECT_EQ(contents[1].classes.at(0).getName(), "A");
}

TEST(MofIncludeTest, PlainTextsRefuseIncludesAndOtherNamespaces) {
    EXPECT_EQ(complaintOf("#pragma include(\"x\")"), "a text compiled here cannot include others");
    EXPECT_EQ(complaintOf("#pragma namespace(\"Root\")"), "");
    EXPECT_EQ(
        complaintOf("#pragma namespace(\"kov\")"),
        "the text is compiled for the namespace \"root\" and cannot declare anything in \"kov\"");
    EXPECT_EQ(complaintOf("#pragma namespace(5)"), "expected a string; found '5'");
}

class MofIncludeFileTest : public ::testing::Test {
protected:
    MofIncludeFileTest() {
        std::filesystem::create_directories(m_directory + "/sub");
        write("top.mof", "#pragma include(\"sub/inner.mof\")");
        write("sub/inner.mof", "#pragma include(\"beside.mof\")");
        write("sub/beside.mof", "class C {};");
    }
    ~MofIncludeFileTest() override { std::filesystem::remove_all(m_directory); }
    void write(const String& name, const String& text) const {
        std::ofstream(m_directory + "/" + name) << text;
    }

    const String m_directory = ::testing::TempDir() + "mof_include_" + std::to_string(::getpid());
};

TEST_F(MofIncludeFileTest, FilesAreRelativeToTheIncludingFile) {
    const auto contents =
        compile(includeFile(m_directory + "/top.mof", ""), {}, "root", includeFile);
    EXPECT_EQ(contents.at(0).classes.at(0).getName(), "C");
}

TEST_F(MofIncludeFileTest, AFileThatTellsNoSizeIsReadToItsEnd) {
    struct stat status {};
    ASSERT_EQ(::stat("/proc/self/maps", &status), 0);
    ASSERT_EQ(status.st_size, 0);
    std::ifstream file("/proc/self/maps");
    const String expected{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    // Memory that is allocated meanwhile may change the lines between these.
    EXPECT_EQ(includeFile("/proc/self/maps", "").text.substr(0, 200), expected.substr(0, 200));
    EXPECT_NE(includeFile("/proc/self/maps", "").text.find("[stack]"), String::npos);
}

TEST_F(MofIncludeFileTest, AFileIsKnownUnderEveryName) {
    write("loop.mof", "class A {};\n#pragma include(\"again.mof\")");
    std::filesystem::create_symlink("loop.mof", m_directory + "/again.mof");
    std::filesystem::create_hard_link(m_directory + "/loop.mof", m_directory + "/hard.mof");
    for (const char* name : {"/loop.mof", "/hard.mof", "/again.mof"}) {
        try {
            compile(includeFile(m_directory + name, ""), {}, "root", includeFile);
            ADD_FAILURE() << name;
        } catch (const MOFCompilerException& e) {
            EXPECT_EQ(e.getSourceLine(), 2U);
            EXPECT_NE(
                String(e.getMessage())
                    .find(":2:17: error: \"" + m_directory + "/again.mof\" includes itself\n"),
                String::npos)
                << e.getMessage();
        }
    }
}

TEST_F(MofIncludeFileTest, AnEmptyFileAndOneOfAnyOtherSizeAreReadAsTheyAre) {
    for (const size_t size : {size_t{0}, size_t{1}, size_t{16384}, size_t{100000}}) {
        write("sized.mof", String(size, ' '));
        EXPECT_EQ(includeFile(m_directory + "/sized.mof", "").text, String(size, ' '));
    }
    write("huge.mof", "");
    std::filesystem::resize_file(m_directory + "/huge.mof", (uintmax_t{1} << 30) + 1);
    EXPECT_THROW(includeFile(m_directory + "/huge.mof", ""), blocxx::IOException);
}

TEST_F(MofIncludeFileTest, WhatIsNoFileIsRefused) {
    for (const char* name : {"/absent.mof", "/sub", ""}) {
        try {
            includeFile(m_directory + name, "");
            ADD_FAILURE() << name;
        } catch (const blocxx::IOException& e) {
            EXPECT_NE(String(e.getMessage()).find(m_directory + name), String::npos);
        }
    }
}

}  // namespace
}  // namespace OpenWBEM::MOF
