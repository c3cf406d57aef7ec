// SPDX-License-Identifier: Apache-2.0
//
// owdeletenamespace: deletes namespaces, with everything in them, from the repository of an
// installation. Either all of them are gone afterwards, or nothing has changed.
#include "blocxx/Format.hpp"
#include "layout/Layout.hpp"
#include "utilities/common/Attempt.hpp"
#include "utilities/common/DaemonPause.hpp"
#include "utilities/common/LocalRepository.hpp"
#include "utilities/common/Options.hpp"

namespace {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)
using blocxx::Format;

constexpr CmdLineParser::Option RESERVED_OPTION = {
    RESERVED,   0,
    "reserved", CmdLineParser::E_NO_ARG,
    nullptr,    "Delete namespaces that a product has reserved, too."};
constexpr CmdLineParser::Option OPTIONS[] = {Program::HELP_OPTION, Program::VERSION_OPTION,
                                             DEST_DIR_OPTION, RESERVED_OPTION,
                                             Program::END_OF_OPTIONS};

// No installation works without these, and only setting it up anew restores them.
constexpr const char* SYSTEM_NAMESPACES[] = {Layout::INTEROP_NS, Layout::SECURITY_NS,
                                             Layout::KOV_NS};

void refuseSystemNamespace(const String& ns) {
    for (const char* needed : SYSTEM_NAMESPACES) {
        if (blocxx::equalsIgnoreCase(ns, needed)) {
            OPENWBEM_THROW_CIM(FAILED, "every installation needs it");
        }
    }
}

/// The instances of a class in namespace "kov"; none when the class or the namespace is missing.
Array<CIMObjectPath> instancesOf(const Repository& repository, const char* className) {
    try {
        return repository.handle()->enumInstanceNamesA(Layout::KOV_NS, className);
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::INVALID_CLASS &&
            e.getErrNo() != CIMException::INVALID_NAMESPACE) {
            throw;
        }
        return {};
    }
}

bool isFor(const CIMObjectPath& reservation, const String& ns) {
    return blocxx::equalsIgnoreCase(reservation.getKeyValue("Name").toString(), ns);
}

void refuseReserved(const Repository& repository, const String& ns) {
    for (const CIMObjectPath& path : instancesOf(repository, "KOV_ProductReservedNamespace")) {
        if (isFor(path.getKeyValue("ReservedNamespace").get<CIMObjectPath>(), ns)) {
            const String product =
                path.getKeyValue("Product").get<CIMObjectPath>().getKeyValue("Name").toString();
            OPENWBEM_THROW_CIM(FAILED,
                               Format("the product \"%1\" has reserved it. \"fennik "
                                      "--deregister-namespace %2 --name %1\" takes it back whole; "
                                      "--reserved deletes it nevertheless",
                                      product, ns));
        }
    }
    for (const CIMObjectPath& path : instancesOf(repository, "KOV_ReservedNamespace")) {
        if (isFor(path, ns)) {
            OPENWBEM_THROW_CIM(FAILED, "it is reserved; --reserved deletes it nevertheless");
        }
    }
}

struct Request {
    StringArray namespaces;
    bool reservedToo;
};

void attemptEach(const Request& request, const std::function<void(const String&)>& action) {
    for (const String& ns : request.namespaces) {
        attempt("delete the namespace \"" + ns + "\"", [&] { action(ns); });
    }
}

void checkDeletable(const Repository& repository, const Request& request) {
    attemptEach(request, [&](const String& ns) {
        refuseSystemNamespace(ns);
        if (!repository.hasNameSpace(ns)) {
            OPENWBEM_THROW_CIM(NOT_FOUND, Format("there is no namespace \"%1\"", ns));
        }
        if (!request.reservedToo) {
            refuseReserved(repository, ns);
        }
    });
}

void deleteFrom(LocalRepository& repository, const Request& request) {
    checkDeletable(repository, request);
    attemptEach(request, [&](const String& ns) { repository.namespaces().deleteNameSpace(ns); });
    repository.close();
}

// Opens the repository directly, because no CIM operation deletes a namespace with its content.
// Asks the daemon what can be deleted before stopping it, so that a refusal interrupts nobody.
int deleteNamespaces(const CmdLineParser& parser) {
    const String prefix = parser.getOptionValue(DEST_DIR);
    const Request request{parser.getNonOptionArgs(), parser.isSet(RESERVED)};
    const blocxx::File runLock = takeRunLock(prefix);
    const auto repository = Repository::open(prefix);
    if (auto* local = dynamic_cast<LocalRepository*>(repository.get())) {
        deleteFrom(*local, request);
        return 0;
    }
    checkDeletable(*repository, request);
    withDaemonStopped([&] {
        LocalRepository own(prefix + Layout::REPOSITORY);
        deleteFrom(own, request);
    });
    return 0;
}

constexpr Program PROGRAM = {
    "owdeletenamespace",
    KOV_VERSION,
    "[--dest-dir PREFIX] [--reserved] NAMESPACE...",
    "Deletes namespaces with everything in them from the repository, all of them or\nnothing. The "
    "daemon is stopped meanwhile and started again.",
    "no namespace is given",
    OPTIONS,
    deleteNamespaces};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
