// SPDX-License-Identifier: Apache-2.0
//
// The documents that explain the exit statuses agree with the table of error codes.
#include "fennik/common/ErrorCode.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>

namespace {

/// The meaning of each exit status, without markup.
using Meanings = std::map<int, std::string>;

/// The part of a file from the line `first` to the next line that begins with `end`.
std::string sectionOf(const std::string& name, const std::string& first, const std::string& end) {
    std::ifstream in(std::string(KOV_SOURCE) + "/" + name);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    const size_t begin = text.find("\n" + first + "\n");
    EXPECT_NE(begin, std::string::npos) << name;
    return begin == std::string::npos
               ? std::string()
               : text.substr(begin + 1, text.find("\n" + end, begin + 1) - begin);
}

/// Removes markup, and puts one blank in the place of each white space.
std::string plain(const std::string& marked) {
    const std::string words = std::regex_replace(marked, std::regex("[`\"]"), "");
    return std::regex_replace(words, std::regex("\\s+(/// )?\\s*"), " ");
}

/// The meanings in the matches of `row`. The two groups are a status and its meaning.
Meanings meaningsIn(const std::string& section, const std::regex& row, int statusGroup,
                    int meaningGroup) {
    Meanings meanings;
    for (std::sregex_iterator it(section.begin(), section.end(), row), end; it != end; ++it) {
        const int status = std::stoi((*it)[statusGroup]) & 0xff;
        EXPECT_TRUE(meanings.emplace(status, plain((*it)[meaningGroup])).second) << it->str();
    }
    return meanings;
}

/// The table of error codes. Fails when it has a line that belongs to no row.
Meanings table() {
    std::string section = sectionOf("fennik/common/ErrorCode.hpp", "enum Value : int {", "};");
    section.erase(0, section.find('\n'));
    const std::regex row(
        "\n    /// ([^\n]+(?:\n    /// [^\n]+)*)\n    [A-Z_]+ = (-?\\d+),?(  // [^\n]+)?");
    EXPECT_EQ(std::regex_replace(section, row, ""), "\n");
    return meaningsIn(section, row, 2, 1);
}

TEST(ErrorCode, TableIsRead) {
    const Meanings meanings = table();
    EXPECT_EQ(meanings.at(KOVNS2::ErrorCode::DONE), "done");
    EXPECT_EQ(meanings.at(KOVNS2::ErrorCode::LOCK_NOT_TAKEN), "the lock could not be taken");
    EXPECT_EQ(meanings.at(KOVNS2::ErrorCode::STATE_FAILED & 0xff),
              "the state could not be gathered or restored");
}

TEST(ErrorCode, ManualTellsTheMeaningOfEach) {
    const std::string section = sectionOf("docs/manual.md", "## Exit statuses", "## ");
    const std::regex row("\n\\| (\\d[^|]*) \\| ([^|]+) \\|");
    EXPECT_EQ(meaningsIn(section, row, 1, 2), table());
}

TEST(ErrorCode, ManPageTellsTheMeaningOfEach) {
    const std::string section = sectionOf("packaging/man/fennik.8", ".SH EXIT STATUS", ".SH ");
    const std::regex row("\n\\.TP\n\\.BR? ([^\n]+)\n([^.\n][^\n]*(?:\n[^.\n][^\n]*)*)");
    EXPECT_EQ(meaningsIn(section, row, 1, 2), table());
}

}  // namespace
