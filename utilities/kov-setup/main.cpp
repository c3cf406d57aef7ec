// SPDX-License-Identifier: Apache-2.0
//
// kov-setup: makes an installation, or a staged tree, ready for fennik and the object manager.
// Prints one line on success; every failure is one text on standard error and exit status 1.
#include <iostream>

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "layout/Layout.hpp"
#include "utilities/common/Options.hpp"
#include "utilities/kov-setup/Setup.hpp"

namespace {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)

constexpr CmdLineParser::Option OPTIONS[] = {
    Program::HELP_OPTION,
    Program::VERSION_OPTION,
    {DEST_DIR, 0, "dest-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Set up a tree below this directory instead of this machine: no account is made, owners and "
     "access lists are not set, and root is not needed."},
    {SCHEMA_DIR, 0, "schema-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Take the schema from this directory instead of /opt/tarvo/kov/share/openwbem below the "
     "destination."},
    Program::END_OF_OPTIONS};

/// The value of an option; empty when it is absent. Refuses an empty value, which would mean this
/// machine.
String directoryOption(const CmdLineParser& parser, OptionId id, const char* name) {
    if (!parser.isSet(id)) {
        return {};
    }
    String value = parser.getOptionValue(id);
    if (value.empty()) {
        BLOCXX_THROW(blocxx::Exception, blocxx::Format("--%1 needs a directory", name));
    }
    return value;
}

int makeInstallation(const CmdLineParser& parser) {
    const Layout::Tree tree(directoryOption(parser, DEST_DIR, "dest-dir"));
    const String given = directoryOption(parser, SCHEMA_DIR, "schema-dir");
    const String schema = given.empty() ? tree.path(Layout::SCHEMA_DIRECTORY) : given;
    for (const String& line : KovSetup::setUp(tree, schema)) {
        // The account chooses the names of files in its directory.
        std::cout << "kov-setup: " << blocxx::printable(blocxx::oneLine(line)) << ".\n";
    }
    std::cout << "kov-setup: \"" << tree.path(Layout::REPOSITORY) << "\" is ready.\n";
    return 0;
}

constexpr Program PROGRAM = {
    "kov-setup",
    KOV_VERSION,
    "[options]",
    "Makes the account, the directories and the empty repository of an installation.\n"
    "Run again, it makes what is missing, gives everything its owner and mode, checks the\n"
    "repository and brings the schema in it up to date. What products have added stays.",
    nullptr,
    OPTIONS,
    makeInstallation,
    1};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
