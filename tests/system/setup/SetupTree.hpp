// SPDX-License-Identifier: Apache-2.0
//
// A temporary directory for each test, in which kov-setup makes an installation.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "blocxx/Process.hpp"
#include "openwbem/repository/OpenRepository.hpp"

namespace KovSetupTest {

using blocxx::String;
using blocxx::StringArray;

/// How a program ended, and what it wrote to both streams together.
struct Outcome {
    blocxx::Process::Status status;
    String output;
};

/// Runs a program, given by its absolute path, as this user or as `identity`.
Outcome runProgram(const StringArray& argv,
                   std::optional<blocxx::Process::Identity> identity = std::nullopt);

class SetupTree : public ::testing::Test {
protected:
    SetupTree();
    ~SetupTree() override;

    /// Runs kov-setup on this tree with the schema of this checkout and further arguments.
    Outcome setUpTree(const StringArray& arguments = {}) const;
    /// Runs kov-setup like setUpTree() under strace, with an injection such as "fsync:error=EIO".
    /// Skips the test when programs cannot be traced.
    void setUpTreeInjecting(const String& injection, Outcome& outcome) const;
    /// Whether programs can be traced here.
    static bool canInject();
    /// Runs kov-setup like setUpTreeInjecting(). Returns whether the injection was met.
    bool setUpTreePerhapsInjecting(const String& injection, const StringArray& arguments,
                                   Outcome& outcome) const;

    String path(const String& below) const { return m_stage + below; }
    const String& stage() const { return m_stage; }
    String repository() const { return path("/var/opt/tarvo/kov/openwbem/repository"); }
    String leftover() const { return path("/var/opt/tarvo/kov/repository.kov-setup"); }

    /// Opens the tree's repository directly and calls `use` with a handle.
    void withRepository(const std::function<void(OpenWBEM::RepositoryCIMOMHandle&)>& use) const;

private:
    StringArray command(const StringArray& arguments) const;

    String m_directory;
    String m_stage;
};

void writeFile(const String& path, const String& content);
String readFile(const String& path);
bool exists(const String& path);
/// Every path below `directory` with its mode and content.
std::map<String, String> snapshot(const String& directory);

}  // namespace KovSetupTest
