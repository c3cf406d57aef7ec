// SPDX-License-Identifier: Apache-2.0
//
// The option table and the table of operations fit each other.
#include "fennik/cli/Options.hpp"

#include <gtest/gtest.h>

#include <set>

#include "fennik/cli/Operations.hpp"

namespace KOVNS2::Testing {
namespace {

std::vector<blocxx::CmdLineParser::Option> rows() {
    std::vector<blocxx::CmdLineParser::Option> all;
    for (const auto* row = g_options; row->longopt != nullptr; ++row) {
        all.push_back(*row);
    }
    return all;
}

TEST(OptionTable, HoldsTwentyOptionsWithDifferentIdsAndNames) {
    std::set<int> ids;
    std::set<blocxx::String> names;
    for (const auto& row : rows()) {
        ids.insert(row.id);
        names.insert(row.longopt);
        EXPECT_EQ(row.defaultValue, nullptr);
    }
    EXPECT_EQ(ids.size(), 20U);
    EXPECT_EQ(names.size(), 20U);
    EXPECT_EQ(rows().size(), 20U);
}

TEST(OptionTable, KeepsTheOrderInWhichTheOptionsAreListed) {
    std::vector<int> ids;
    for (const auto& row : rows()) {
        ids.push_back(row.id);
    }
    EXPECT_EQ(ids, (std::vector<int>{0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                     10, 11, 12, 13, 14, 17, 18, 15, 16, 19}));
}

TEST(Operations, StandInTheOrderInWhichTheyAreLookedFor) {
    std::vector<int> ids;
    for (const Operation& operation : operations()) {
        ids.push_back(operation.option);
    }
    EXPECT_EQ(ids, (std::vector<int>{4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 17, 18}));
}

}  // namespace
}  // namespace KOVNS2::Testing
