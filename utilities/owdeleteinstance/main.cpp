// SPDX-License-Identifier: Apache-2.0
//
// owdeleteinstance: deletes instances from the repository of an installation, given with their
// object paths. Either all of them are gone afterwards, or nothing has changed.
#include "utilities/common/Attempt.hpp"
#include "utilities/common/LocalRepository.hpp"
#include "utilities/common/Program.hpp"

namespace {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)

constexpr CmdLineParser::Option OPTIONS[] = {
    HELP_OPTION,
    VERSION_OPTION,
    {NAMESPACE, 'n', "namespace", CmdLineParser::E_REQUIRED_ARG, DEFAULT_NAMESPACE,
     "The namespace of paths that do not name theirs; \"root\" when absent."},
    DEST_DIR_OPTION,
    END_OF_OPTIONS};

/// The path of an instance, with its namespace.
CIMObjectPath readPath(const String& text, const String& defaultNamespace) {
    CIMObjectPath path = CIMObjectPath::parse(text);
    if (path.isClassPath()) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, "it names no key, so it is the path of a class");
    }
    if (path.getNameSpace().empty()) {
        path.setNameSpace(defaultNamespace);
    }
    return path;
}

int deleteInstances(const CmdLineParser& parser) {
    const String ns = parser.getOptionValue(NAMESPACE, DEFAULT_NAMESPACE);
    LocalRepository repository(repositoryDirectory(parser));
    for (const String& text : parser.getNonOptionArgs()) {
        attempt("delete the instance \"" + text + "\"", [&] {
            const CIMObjectPath path = readPath(text, ns);
            repository.handle()->deleteInstance(path.getNameSpace(), path);
        });
    }
    repository.close();
    return 0;
}

constexpr Program PROGRAM = {
    "owdeleteinstance",
    KOV_VERSION,
    "[-n NAMESPACE] [--dest-dir PREFIX] OBJECTPATH...",
    "Deletes instances from the repository, all of them or nothing. An object path is\n"
    "CLASS.KEY=\"VALUE\",... , with NAMESPACE: in front where it is not that of -n.",
    "no object path is given",
    OPTIONS,
    deleteInstances};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
