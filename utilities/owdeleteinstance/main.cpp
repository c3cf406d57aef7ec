// SPDX-License-Identifier: Apache-2.0
//
// owdeleteinstance: deletes instances, given by their object paths, from the repository of an
// installation. Either all of them are gone afterwards, or nothing has changed.
#include <vector>

#include "utilities/common/Attempt.hpp"
#include "utilities/common/Options.hpp"
#include "utilities/common/Repository.hpp"

namespace {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)

constexpr CmdLineParser::Option OPTIONS[] = {
    Program::HELP_OPTION,
    Program::VERSION_OPTION,
    {NAMESPACE, 'n', "namespace", CmdLineParser::E_REQUIRED_ARG, DEFAULT_NAMESPACE,
     "The namespace of paths that do not name theirs; \"root\" when absent."},
    DEST_DIR_OPTION,
    Program::END_OF_OPTIONS};

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

/// Instances to delete, with copies from which they can be created again.
class Deletion {
public:
    explicit Deletion(Repository& repository) : m_repository(repository) {}

    /// Throws CIMException when there is no such instance.
    void add(const CIMObjectPath& path) {
        const String& ns = path.getNameSpace();
        m_instances.push_back({path, m_repository.handle()->getInstance(
                                         ns, path, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                         E_EXCLUDE_CLASS_ORIGIN, nullptr)});
    }

    void carryOut() {
        try {
            for (; m_deleted < m_instances.size(); ++m_deleted) {
                const CIMObjectPath& path = m_instances[m_deleted].path;
                attempt("delete the instance \"" + path.toString() + "\"",
                        [&] { m_repository.handle()->deleteInstance(path.getNameSpace(), path); });
            }
        } catch (const CIMException& e) {
            BLOCXX_THROW(blocxx::Exception, e.getMessage() + bringBack());
        }
    }

private:
    struct Kept {
        CIMObjectPath path;
        CIMInstance instance;
    };

    /// Creates the deleted instances again where no rollback does that. Returns the failures, as
    /// the end of a message.
    String bringBack() {
        String failures;
        while (!m_repository.isUnitOfWork() && m_deleted > 0) {
            const Kept& kept = m_instances[--m_deleted];
            try {
                m_repository.handle()->createInstance(kept.path.getNameSpace(), kept.instance);
            } catch (const CIMException& e) {
                const String what = "bring back the instance \"" + kept.path.toString() + "\"";
                failures += "; " + describeAttempt(what + ", which is deleted", e);
            }
        }
        return failures;
    }

    Repository& m_repository;
    std::vector<Kept> m_instances;
    size_t m_deleted = 0;
};

int deleteInstances(const CmdLineParser& parser) {
    const String ns = parser.getOptionValue(NAMESPACE, DEFAULT_NAMESPACE);
    const auto repository = Repository::open(parser.getOptionValue(DEST_DIR));
    Deletion deletion(*repository);
    for (const String& text : parser.getNonOptionArgs()) {
        attempt("delete the instance \"" + text + "\"", [&] { deletion.add(readPath(text, ns)); });
    }
    deletion.carryOut();
    repository->close();
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
