// SPDX-License-Identifier: Apache-2.0
//
// owdeletenamespace: deletes namespaces, with everything in them, from the repository of an
// installation. Either all of them are gone afterwards, or nothing has changed.
#include "utilities/common/Attempt.hpp"
#include "utilities/common/LocalRepository.hpp"
#include "utilities/common/Program.hpp"

namespace {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)

constexpr CmdLineParser::Option OPTIONS[] = {HELP_OPTION, VERSION_OPTION, DEST_DIR_OPTION,
                                             END_OF_OPTIONS};

// Without these an installation is none; they cannot be brought back but by setting it up anew.
constexpr const char* NEEDED[] = {"root", "root/security", "kov"};

void refuseNeeded(const String& ns) {
    for (const char* needed : NEEDED) {
        if (blocxx::equalsIgnoreCase(ns, needed)) {
            OPENWBEM_THROW_CIM(FAILED, "every installation needs it");
        }
    }
}

int deleteNamespaces(const CmdLineParser& parser) {
    // Not through the daemon: no operation of CIM deletes a namespace with what is in it.
    LocalRepository repository(repositoryDirectory(parser.getOptionValue(DEST_DIR)));
    for (const String& ns : parser.getNonOptionArgs()) {
        attempt("delete the namespace \"" + ns + "\"", [&] {
            refuseNeeded(ns);
            repository.namespaces().deleteNameSpace(ns);
        });
    }
    repository.close();
    return 0;
}

constexpr Program PROGRAM = {
    "owdeletenamespace",
    KOV_VERSION,
    "[--dest-dir PREFIX] NAMESPACE...",
    "Deletes namespaces with everything in them from the repository, all of them or\nnothing.",
    "no namespace is given",
    OPTIONS,
    deleteNamespaces};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
