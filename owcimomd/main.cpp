// SPDX-License-Identifier: Apache-2.0
//
// owcimomd: the object manager daemon. Every failure is one text on standard error and exit
// status 1.
#include <iostream>

#include "blocxx/CmdLineParser.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "owcimomd/Daemon.hpp"
#include "owcimomd/process/Background.hpp"

namespace {

using blocxx::CmdLineParser;
using blocxx::String;

enum OptionId { HELP, VERSION, FOREGROUND, PING, CONFIG, DEST_DIR };

constexpr CmdLineParser::Option OPTIONS[] = {
    {HELP, 'h', "help", CmdLineParser::E_NO_ARG, nullptr, "Show this help."},
    {VERSION, 'v', "version", CmdLineParser::E_NO_ARG, nullptr, "Show the version."},
    {FOREGROUND, 'f', "foreground", CmdLineParser::E_NO_ARG, nullptr,
     "Stay in the foreground and log to standard error."},
    {PING, 0, "ping", CmdLineParser::E_NO_ARG, nullptr,
     "Start nothing: end with status 0 when a daemon answers, with 1 when none does."},
    {CONFIG, 'c', "config", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Read this configuration file, and the drop-ins in the directory of its name with \".d\" "
     "behind it."},
    {DEST_DIR, 0, "dest-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Work on the tree below this directory, as the user who starts it."},
    {0, 0, nullptr, CmdLineParser::E_NO_ARG, nullptr, nullptr}};

String usage() {
    return "Usage: owcimomd [options]\n\nServes the repository to local clients. Goes into the "
           "background once it answers.\n\n" +
           CmdLineParser::getUsage(OPTIONS, 80);
}

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

int run(const CmdLineParser& parser) {
    if (parser.isSet(HELP)) {
        std::cout << usage();
        return 0;
    }
    if (parser.isSet(VERSION)) {
        std::cout << "owcimomd " KOV_VERSION "\n";
        return 0;
    }
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
        return OwCimomd::runDaemon(tree, configFile, true, [] {});
    }
    return OwCimomd::runInBackground([&](const std::function<void()>& ready) {
        return OwCimomd::runDaemon(tree, configFile, false, ready);
    });
}

int complain(const String& message) {
    std::cerr << "owcimomd: error: " << blocxx::printable(message) << "\n";
    return 1;
}

String describe(const blocxx::CmdLineParserException& e) {
    switch (e.getErrorCode()) {
        case CmdLineParser::E_INVALID_OPTION:
            return String("unknown option: ") + e.getMessage();
        case CmdLineParser::E_MISSING_ARGUMENT:
            return String("the option needs an argument: ") + e.getMessage();
        default:
            return String("unexpected argument: ") + e.getMessage();
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        const CmdLineParser parser(argc, argv, OPTIONS, CmdLineParser::E_NON_OPTION_ARGS_INVALID);
        return run(parser);
    } catch (const blocxx::CmdLineParserException& e) {
        return complain(describe(e) + "\n\n" + usage());
    } catch (const blocxx::Exception& e) {
        return complain(e.getMessage());
    } catch (const std::exception& e) {
        return complain(e.what());
    } catch (...) {
        return complain("unknown error");
    }
}
