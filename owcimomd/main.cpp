// SPDX-License-Identifier: Apache-2.0
//
// owcimomd: the object manager daemon. Every failure is one text on standard error and exit
// status 1.
#include "blocxx/Format.hpp"
#include "blocxx/Program.hpp"
#include "owcimomd/Daemon.hpp"
#include "owcimomd/process/Background.hpp"

namespace {

using blocxx::CmdLineParser;
using blocxx::Program;
using blocxx::String;

enum OptionId { FOREGROUND = Program::FIRST_OWN_OPTION, PING, CONFIG, DEST_DIR };

constexpr CmdLineParser::Option OPTIONS[] = {
    Program::HELP_OPTION,
    Program::VERSION_OPTION,
    {FOREGROUND, 'f', "foreground", CmdLineParser::E_NO_ARG, nullptr,
     "Stay in the foreground and log to standard error."},
    {PING, 0, "ping", CmdLineParser::E_NO_ARG, nullptr,
     "Start nothing: end with status 0 when a daemon answers, with 1 when none does."},
    {CONFIG, 'c', "config", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Read this configuration file, and the drop-ins in the directory of its name with \".d\" "
     "behind it."},
    {DEST_DIR, 0, "dest-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Work on the tree below this directory, as the user who starts it."},
    Program::END_OF_OPTIONS};

/// The value of a path option, absolute: the daemon leaves the directory that it is started in.
String pathOption(const CmdLineParser& parser, OptionId id, const char* name) {
    if (!parser.isSet(id)) {
        return {};
    }
    String value = parser.getOptionValue(id);
    if (value.empty() || value.front() != '/') {
        BLOCXX_THROW(blocxx::Exception, blocxx::Format("--%1 needs an absolute path", name));
    }
    return value;
}

int startOrPing(const CmdLineParser& parser) {
    const Layout::Tree tree(pathOption(parser, DEST_DIR, "dest-dir"));
    String configFile = pathOption(parser, CONFIG, "config");
    if (parser.isSet(PING)) {
        OwCimomd::pingDaemon(tree);
        return 0;
    }
    if (configFile.empty()) {
        configFile = tree.path(Layout::CONFIG_FILE);
    }
    if (parser.isSet(FOREGROUND)) {
        OwCimomd::closeInheritedDescriptors();
        return OwCimomd::runDaemon(tree, configFile, true, [](const auto&) {});
    }
    return OwCimomd::runInBackground([&](const OwCimomd::Ready& ready) {
        return OwCimomd::runDaemon(tree, configFile, false, ready);
    });
}

constexpr Program PROGRAM = {
    "owcimomd",
    KOV_VERSION,
    "[options]",
    "Serves the repository to local clients. Goes into the background once it answers.",
    nullptr,
    OPTIONS,
    startOrPing,
    1};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
