// SPDX-License-Identifier: Apache-2.0
//
// kov-verify: holds what the repository records against the machine, or against a staged tree.
// Prints each deviation with the command that mends it, and changes nothing.
#include <unistd.h>

#include <iostream>

#include "blocxx/Format.hpp"
#include "utilities/common/DaemonPause.hpp"
#include "utilities/common/Options.hpp"
#include "utilities/kov-verify/Verification.hpp"

namespace {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)

constexpr int PRODUCT = SCHEMA_DIR + 1;
constexpr int ALL_AS_REGISTERED = 0;
constexpr int DEVIATIONS = 1;
constexpr int ERROR = 2;

constexpr CmdLineParser::Option OPTIONS[] = {
    Program::HELP_OPTION,
    Program::VERSION_OPTION,
    {DEST_DIR, 0, "dest-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Verify the tree below this directory instead of this machine: owners, access lists and "
     "programs are not looked at, and root is not needed."},
    {PRODUCT, 0, "name", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Verify this product only, and what it cannot do without."},
    Program::END_OF_OPTIONS};

/// The value of an option; empty when it is absent. An empty one would mean everything.
String valueOf(const CmdLineParser& parser, int id, const char* needed) {
    String value = parser.getOptionValue(id);
    if (parser.isSet(id) && value.empty()) {
        BLOCXX_THROW(blocxx::Exception, needed);
    }
    return value;
}

void print(const KovVerify::Outcome& outcome) {
    const size_t count = outcome.findings.count();
    outcome.findings.print(std::cout);
    if (count == 0 && !outcome.whyIncomplete.empty()) {
        return;
    }
    if (count == 0) {
        std::cout << "kov-verify: everything is as registered; products: " << outcome.products
                  << ".\n";
    } else {
        std::cout << "kov-verify: deviations: " << count << ". Each is followed by the command "
                  << "that mends it. In place of\nLIST, FILE and BACKUP, name the product's "
                  << "provider list, its provider MOF, and a backup.\n";
    }
    if (!outcome.isRepositoryChecked) {
        std::cout << "kov-verify: the repository's file was not checked.\n";
    }
    std::cout.flush();
    if (!std::cout) {
        BLOCXX_THROW(blocxx::Exception, "cannot write to standard output");
    }
}

int verifyInstallation(const CmdLineParser& parser) {
    const String prefix = valueOf(parser, DEST_DIR, "--dest-dir needs a directory");
    const String product = valueOf(parser, PRODUCT, "--name needs the name of a product");
    if (prefix.empty() && geteuid() != 0) {
        BLOCXX_THROW(blocxx::Exception,
                     "it must be run as root to verify this machine (--dest-dir verifies a tree "
                     "elsewhere)");
    }
    const blocxx::File runLock = takeRunLock(prefix);
    const KovVerify::Outcome outcome = KovVerify::verify(prefix, product);
    print(outcome);
    if (!outcome.whyIncomplete.empty()) {
        BLOCXX_THROW(blocxx::Exception, outcome.whyIncomplete);
    }
    return outcome.findings.count() == 0 ? ALL_AS_REGISTERED : DEVIATIONS;
}

constexpr Program PROGRAM = {
    "kov-verify",
    KOV_VERSION,
    "[options]",
    "Holds what the repository records against the machine, product by product, and prints\n"
    "for each deviation what is wrong and the command that mends it. Changes nothing.\n"
    "Ends with 0 when everything is as registered, with 1 otherwise, with 2 after an error.",
    nullptr,
    OPTIONS,
    verifyInstallation,
    ERROR,
    ERROR};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
