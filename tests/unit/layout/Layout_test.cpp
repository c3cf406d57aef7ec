// SPDX-License-Identifier: Apache-2.0
#include "layout/Layout.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

using testing::HasSubstr;

const std::string INIT_SCRIPT_SOURCE = "packaging/init/tarvo-owcimomd_init";
const std::string UNIT_SOURCE = "packaging/systemd/tarvo-owcimomd.service";

std::string sourceOf(const std::string& name) {
    std::ifstream in(std::string(KOV_SOURCE) + "/" + name);
    EXPECT_TRUE(in) << name;
    return {std::istreambuf_iterator<char>(in), {}};
}

/// The paths of an installation that a text mentions.
std::set<std::string> pathsIn(const std::string& text) {
    const std::regex path("/(?:etc/|var/)?opt/tarvo[-A-Za-z0-9_./]*");
    return {std::sregex_token_iterator(text.begin(), text.end(), path), {}};
}

TEST(Layout, TheInitScriptHasItsNamesFromHere) {
    const std::string script = sourceOf(INIT_SCRIPT_SOURCE);
    EXPECT_THAT(script, HasSubstr(std::string("\nACCOUNT=") + Layout::ACCOUNT + "\n"));
    EXPECT_THAT(script, HasSubstr(std::string("\nDAEMON=") + Layout::DAEMON + "\n"));
    EXPECT_THAT(script, HasSubstr(std::string("\nCONFIG=") + Layout::CONFIG_FILE + "\n"));
    EXPECT_THAT(script, HasSubstr(std::string("\nPID_FILE=") + Layout::PID_FILE + "\n"));
    EXPECT_EQ(pathsIn(script),
              (std::set<std::string>{Layout::DAEMON, Layout::CONFIG_FILE, Layout::PID_FILE}));
}

TEST(Layout, TheUnitFileHasItsNamesFromHere) {
    const std::string unit = sourceOf(UNIT_SOURCE);
    const std::string script = Layout::INIT_SCRIPT;
    EXPECT_THAT(unit, HasSubstr(std::string("\nUser=") + Layout::ACCOUNT + "\n"));
    EXPECT_THAT(unit, HasSubstr("\nExecStart=" + script + " start\n"));
    EXPECT_THAT(unit, HasSubstr("\nExecStop=" + script + " stop\n"));
    EXPECT_THAT(unit, HasSubstr(std::string("\nConditionPathExists=") + Layout::DATA_DIRECTORY));
    EXPECT_EQ(pathsIn(unit), (std::set<std::string>{Layout::INIT_SCRIPT, Layout::DATA_DIRECTORY}));
}

TEST(Layout, AStagedTreeHasItsPrefixInFrontAsPlainText) {
    EXPECT_EQ(Layout::Tree("stage").path(Layout::LOCK_FILE), "stage/var/opt/tarvo/kov/fennik.lock");
    EXPECT_FALSE(Layout::Tree("stage").isLive());
    EXPECT_EQ(Layout::Tree("").path(Layout::LOCK_FILE), Layout::LOCK_FILE);
    EXPECT_TRUE(Layout::Tree("").isLive());
}

}  // namespace
