// SPDX-License-Identifier: Apache-2.0
//
// kov-setup: makes an installation, or a staged tree, ready for fennik and the object manager.
// Prints one line on success; every failure is one text on standard error and exit status 1.
#include <sys/stat.h>

#include <iostream>

#include "blocxx/CmdLineParser.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "utilities/kov-setup/Setup.hpp"
#include "utilities/kov-setup/SetupException.hpp"

namespace {

using blocxx::CmdLineParser;
using blocxx::String;

enum OptionId { HELP, VERSION, DEST_DIR, SCHEMA_DIR };

constexpr CmdLineParser::Option OPTIONS[] = {
    {HELP, 'h', "help", CmdLineParser::E_NO_ARG, nullptr, "Show this help."},
    {VERSION, 'v', "version", CmdLineParser::E_NO_ARG, nullptr, "Show the version."},
    {DEST_DIR, 0, "dest-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Set up a tree below this directory instead of this machine: no account is made, owners and "
     "access lists are not set, and root is not needed."},
    {SCHEMA_DIR, 0, "schema-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Take the schema from this directory instead of /opt/tarvo/kov/share/openwbem below the "
     "destination."},
    {0, 0, nullptr, CmdLineParser::E_NO_ARG, nullptr, nullptr}};

String usage() {
    return "Usage: kov-setup [options]\n\nMakes the account, the directories and the empty "
           "repository of an installation.\nAn existing repository is never touched.\n\n" +
           CmdLineParser::getUsage(OPTIONS, 80);
}

/// The value of an option that must not be given as an empty text: it would name the machine
/// itself.
String directoryOption(const CmdLineParser& parser, OptionId id, const char* name) {
    if (!parser.isSet(id)) {
        return {};
    }
    String value = parser.getOptionValue(id);
    if (value.empty()) {
        BLOCXX_THROW(KovSetup::SetupException, blocxx::Format("--%1 needs a directory", name));
    }
    return value;
}

int run(const CmdLineParser& parser) {
    if (parser.isSet(HELP)) {
        std::cout << usage();
        return 0;
    }
    if (parser.isSet(VERSION)) {
        std::cout << "kov-setup " KOV_VERSION "\n";
        return 0;
    }
    const KovSetup::Layout layout(directoryOption(parser, DEST_DIR, "dest-dir"),
                                  directoryOption(parser, SCHEMA_DIR, "schema-dir"));
    KovSetup::setUp(layout);
    std::cout << "kov-setup: \"" << layout.repository() << "\" is ready.\n";
    return 0;
}

int complain(const String& message) {
    std::cerr << "kov-setup: error: " << blocxx::printable(message) << "\n";
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
    umask(077);
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
