// SPDX-License-Identifier: Apache-2.0
#include "tests/system/setup/SetupTree.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "blocxx/Secure.hpp"

namespace KovSetupTest {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

namespace {

constexpr std::chrono::seconds PATIENCE{120};
constexpr const char* STRACE = "/usr/bin/strace";

String makeTemporaryDirectory() {
    String name = std::filesystem::temp_directory_path().string() + "/kov-setup-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make " + name);
    }
    return name;
}

}  // namespace

Outcome runProgram(const StringArray& argv, std::optional<blocxx::Process::Identity> identity) {
    blocxx::Process::Command command;
    command.argv = argv;
    command.environment = blocxx::Secure::minimalEnvironment();
    command.identity = identity;
    command.timeLimit = PATIENCE;
    Outcome outcome;
    outcome.status = blocxx::Process::run(command, outcome.output);
    return outcome;
}

SetupTree::SetupTree() : m_directory(makeTemporaryDirectory()), m_stage(m_directory + "/stage") {}

SetupTree::~SetupTree() {
    std::error_code ignored;
    std::filesystem::remove_all(m_directory, ignored);
}

StringArray SetupTree::command(const StringArray& arguments) const {
    StringArray argv = {KOV_SETUP_PROGRAM, "--dest-dir", m_stage, "--schema-dir", KOV_SCHEMA_DIR};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return argv;
}

Outcome SetupTree::setUpTree(const StringArray& arguments) const {
    return runProgram(command(arguments));
}

bool SetupTree::canInject() {
    return exists(STRACE) && runProgram({STRACE, "-qq", "-e", "trace=none", "/bin/true"})
                                 .status.terminatedSuccessfully();
}

bool SetupTree::setUpTreePerhapsInjecting(const String& injection, const StringArray& arguments,
                                          Outcome& outcome) const {
    const String log = m_directory + "/strace.log";
    // LeakSanitizer does not work under ptrace.
    StringArray argv = {STRACE, "-qq",
                        "-E",   "ASAN_OPTIONS=detect_leaks=0",
                        "-o",   log,
                        "-e",   "trace=" + injection.substr(0, injection.find(':')),
                        "-e",   "inject=" + injection};
    const StringArray setup = command(arguments);
    argv.insert(argv.end(), setup.begin(), setup.end());
    outcome = runProgram(argv);
    const String trace = readFile(log);
    return trace.find("INJECTED") != String::npos || trace.find("killed by") != String::npos;
}

void SetupTree::setUpTreeInjecting(const String& injection, Outcome& outcome) const {
    if (!canInject()) {
        GTEST_SKIP() << "programs cannot be traced here (strace)";
    }
    ASSERT_TRUE(setUpTreePerhapsInjecting(injection, {}, outcome))
        << "the fault was never met: " << outcome.output;
}

void SetupTree::withRepository(const std::function<void(RepositoryCIMOMHandle&)>& use) const {
    const OpenRepository opened(repository());
    use(*opened);
}

void writeFile(const String& path, const String& content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary);
    out << content;
    ASSERT_TRUE(out.flush()) << path;
}

String readFile(const String& path) {
    const std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

bool exists(const String& path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

std::map<String, String> snapshot(const String& directory) {
    std::map<String, String> all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        std::ostringstream text;
        text << std::oct << static_cast<unsigned>(entry.symlink_status().permissions()) << "\n";
        if (entry.is_regular_file()) {
            text << readFile(entry.path().string());
        }
        all[entry.path().string()] = text.str();
    }
    return all;
}

}  // namespace KovSetupTest
