// SPDX-License-Identifier: Apache-2.0
//
// The tool's exception, text functions, regular expressions, temporary files and the search for
// programs.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Process.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/FileUtils.hpp"
#include "fennik/common/RegularExpression.hpp"
#include "fennik/common/TempFile.hpp"
#include "fennik/common/TextUtils.hpp"
#include "tests/unit/blocxx/TemporaryDirectory.hpp"

using blocxx::String;
using blocxx::StringArray;
using KOVNS2::FennikException;
using KOVNS2::RegularExpression;
using KOVNS2::TempFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

TEST(FennikException, KeepsItsCodeAndItsCause) {
    const blocxx::IOException cause("io.cpp", 3, "cause", 11);
    const FennikException e("unit.cpp", 7, "message", 2, &cause);
    EXPECT_STREQ(e.type(), "FennikException");
    EXPECT_EQ(e.getErrorCode(), 2);
    EXPECT_EQ(e.getSubClassId(), -1);
    EXPECT_EQ(toString(e),
              "unit.cpp: 7 FennikException: 2: message <io.cpp: 3 IOException: 11: cause>");
}

TEST(FennikException, ClonesAndRethrowsAsItself) {
    const FennikException e("unit.cpp", 7, "message", 14, nullptr, 5);
    const blocxx::Exception& seen = e;
    const std::unique_ptr<blocxx::Exception> copy(seen.clone());
    EXPECT_EQ(toString(*copy), toString(e));
    EXPECT_EQ(copy->getSubClassId(), 5);
    EXPECT_THROW(seen.rethrow(), FennikException);
    EXPECT_THROW(copy->rethrow(), FennikException);
}

TEST(Untokenize, PutsTheSeparatorBetweenNeighboursOnly) {
    EXPECT_EQ(KOVNS2::untokenize({"a", "b", "", "c"}, "\" \""), "a\" \"b\" \"\" \"c");
    EXPECT_EQ(KOVNS2::untokenize({"a"}, ", "), "a");
    EXPECT_EQ(KOVNS2::untokenize({}, ", "), "");
}

TEST(SearchReplace, GoesFromLeftToRightOnce) {
    struct Row {
        const char* text;
        const char* search;
        const char* replacement;
        const char* result;
    };
    const Row rows[] = {{"a-b-c", "-", "--", "a--b--c"},
                        {"aaa", "aa", "b", "ba"},
                        {"abab", "ab", "abab", "abababab"},
                        {"abc", "x", "y", "abc"},
                        {"abc", "abc", "", ""},
                        {"", "a", "b", ""},
                        {"abc", "", "x", "abc"},
                        {"xaxbx", "x", "", "ab"}};
    for (const Row& row : rows) {
        EXPECT_EQ(KOVNS2::search_replace(row.text, row.search, row.replacement), row.result)
            << row.text;
    }
}

TEST(EqualsIgnorecase, ServesTheStandardAlgorithms) {
    const StringArray left{"Name", "KOV"};
    const StringArray right{"nAME", "kov"};
    EXPECT_TRUE(std::equal(left.begin(), left.end(), right.begin(), KOVNS2::equals_ignorecase));
    EXPECT_FALSE(KOVNS2::equals_ignorecase("a", "b"));
    EXPECT_FALSE(KOVNS2::equals_ignorecase("a", "aa"));
}

TEST(RegularExpression, SearchesAnywhereInExtendedSyntax) {
    const RegularExpression assignment("^[ \t]*[^ \t=]+[ \t]*=[ \t]*", 0);
    EXPECT_TRUE(assignment.matches("  Name = 1;"));
    EXPECT_FALSE(assignment.matches("= 1"));
    EXPECT_EQ(assignment.matching_substring("  Name = 1;"), "  Name = ");
    EXPECT_EQ(assignment.matching_substring("no"), "");
    EXPECT_EQ(RegularExpression(String("b+|cd"), 0).matching_substring("abbbcd"), "bbb");
    EXPECT_TRUE(RegularExpression("ABC", REG_ICASE).matches("xabcx"));
    EXPECT_TRUE(RegularExpression("b", REG_NOSUB).matching_substring("abc") == "b");
}

TEST(RegularExpression, SearchesBeyondNulCharacters) {
    EXPECT_TRUE(RegularExpression("end$", 0).matches(String("a\0end", 5)));
}

TEST(RegularExpression, FindsTheMatchingLines) {
    const RegularExpression end("[ \t]*;[ \t]*$", 0);
    EXPECT_THAT(end.find_matching_line_numbers({"a;", "b", "c ; ", "; d", ";"}),
                ElementsAre(0, 2, 4));
    EXPECT_THAT(end.find_matching_line_numbers({}), IsEmpty());
}

TEST(RegularExpression, ThatDoesNotCompileThrows) {
    try {
        const RegularExpression broken("a(b", 0);
        FAIL() << "nothing was thrown";
    } catch (const KOVNS2::RegularExpressionException& e) {
        EXPECT_THAT(e.getMessage(), HasSubstr("\"a(b\""));
    }
}

TEST(RE, HandsItsCompiledPatternToRegexec) {
    const KOVNS2::RE pragma("^[ \t]*#pragma[ \t]+namespace\\(\"([^\"]+)\"\\)", 4);
    const String text = "// first line\n  #pragma namespace(\"root/kov\")\n";
    regmatch_t matches[2];
    ASSERT_EQ(regexec(pragma.compiled(), text.c_str(), 2, matches, 0), 0);
    EXPECT_EQ(text.substr(static_cast<size_t>(matches[1].rm_so),
                          static_cast<size_t>(matches[1].rm_eo - matches[1].rm_so)),
              "root/kov");
    EXPECT_EQ(regexec(pragma.compiled(), "#pragma locale(\"x\")", 0, nullptr, 0), REG_NOMATCH);
    EXPECT_THROW(KOVNS2::RE("[", 0), KOVNS2::RegularExpressionException);
}

class TempFiles : public testing::Test {
protected:
    size_t count() const {
        const std::filesystem::directory_iterator entries(m_dir.path());
        return static_cast<size_t>(std::distance(begin(entries), end(entries)));
    }
    TemporaryDirectory m_dir;
};

TEST_F(TempFiles, AreRemovedUnlessReleased) {
    {
        const TempFile temp(m_dir.path());
        EXPECT_EQ(count(), 1U);
    }
    EXPECT_EQ(count(), 0U);
    TempFile::Released released;
    {
        TempFile temp(m_dir.path() + "/");
        released = temp.release();
    }
    EXPECT_EQ(count(), 1U);
    EXPECT_EQ(released.file.write("abc", 3), 3);
    EXPECT_EQ(blocxx::FileSystem::getFileContents(released.path), "abc");
    EXPECT_THAT(blocxx::FileSystem::Path::basename(released.path), StartsWith(".fennik-tmp-"));
}

TEST_F(TempFiles, LeaveTheirModeToTheUmask) {
    const mode_t before = umask(022);
    TempFile temp(m_dir.path());
    umask(before);
    struct stat info = {};
    ASSERT_EQ(stat(temp.release().path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0644U);
}

TEST_F(TempFiles, AreReadableToWhomTheDirectorysAclNames) {
    const String setfacl = KOVNS2::FileUtils::locateExecutable(
        "setfacl", KOVNS2::KOVConstants::EXECUTABLE_DEFAULT_PATH);
    String output;
    if (setfacl.empty() ||
        !blocxx::Process::run({{setfacl, "-d", "-m", "u:4801:r", m_dir.path()}, {}, "", {}, {}},
                              output)
             .terminatedSuccessfully()) {
        GTEST_SKIP() << "default ACLs cannot be set here: " << output;
    }
    const mode_t before = umask(077);
    TempFile temp(m_dir.path());
    umask(before);
    // With a default ACL the group bits show its mask: here the named user's right to read.
    struct stat info = {};
    ASSERT_EQ(stat(temp.release().path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0070U, 0040U);
}

TEST_F(TempFiles, HaveNamesOfTheirOwn) {
    std::set<String> paths;
    for (int i = 0; i < 200; ++i) {
        paths.insert(TempFile(m_dir.path()).release().path);
    }
    EXPECT_EQ(paths.size(), 200U);
}

TEST_F(TempFiles, ThatCannotBeMadeNameTheirDirectory) {
    for (const String& directory : {m_dir / "missing", String()}) {
        try {
            const TempFile temp(directory);
            FAIL() << directory;
        } catch (const blocxx::FileSystemException& e) {
            EXPECT_EQ(e.getErrorCode(), ENOENT);
            EXPECT_THAT(e.getMessage(), HasSubstr("\"" + directory + "\""));
        }
    }
}

TEST(LocateExecutable, FindsTheFirstInTheSearchPath) {
    TemporaryDirectory dir;
    for (const char* name : {"a", "b", "c"}) {
        ASSERT_TRUE(blocxx::FileSystem::makeDirectory(dir / name));
        std::ofstream(dir / name + "/program") << "";
    }
    ASSERT_TRUE(blocxx::FileSystem::makeDirectory(dir / "a/folder"));
    blocxx::FileSystem::changeFileMode(dir / "b/program", 0755);
    blocxx::FileSystem::changeFileMode(dir / "c/program", 0755);
    const String path =
        (dir / "missing") + ":" + (dir / "a") + "::" + (dir / "b") + ":" + (dir / "c");
    EXPECT_EQ(KOVNS2::FileUtils::locateExecutable("program", path), dir / "b/program");
    for (const char* name : {"folder", "none", "", "../b/program", "/bin/sh"}) {
        EXPECT_EQ(KOVNS2::FileUtils::locateExecutable(name, path), "") << name;
    }
    EXPECT_EQ(KOVNS2::FileUtils::locateExecutable("program", ""), "");
}

TEST(LocateExecutable, KnowsTheSystemsPrograms) {
    for (const String name : {"cp", "rm"}) {
        const String path = KOVNS2::FileUtils::locateExecutable(
            name, KOVNS2::KOVConstants::EXECUTABLE_DEFAULT_PATH);
        EXPECT_TRUE(path.starts_with('/') && path.ends_with("/" + name)) << path;
    }
}

}  // namespace
