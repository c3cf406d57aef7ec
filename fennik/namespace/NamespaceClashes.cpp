// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/NamespaceClashes.hpp"

#include <set>

#include "blocxx/Format.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/TextUtils.hpp"
#include "fennik/namespace/NamespaceModel.hpp"
#include "fennik/namespace/NamespaceUtils.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/Identifier.hpp"

namespace KOVNS2::NamespaceClashes {

using namespace NamespaceModel;
using blocxx::Format;
using OpenWBEM::CIMException;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;
using OpenWBEM::CIMValue;

namespace {

/// Throws what a failed attempt to create the namespace would throw.
[[noreturn]] void refuseNamespace(CIMException::ErrNoType code, const String& reason,
                                  CallSite place = CallSite::here()) {
    const CIMException cause(place.file, place.line, code, reason);
    const String message = Format("Unable to create the Namespace: %1", cause);
    throw NamespaceUtilsException(place.file, place.line, message.c_str());
}

// Asks for an arbitrary class: INVALID_NAMESPACE means that the namespace does not exist.
bool exists(CIMOMHandleIFC& handle, const String& ns) {
    try {
        handle.getClass(ns, RESERVED_NAMESPACE);
    } catch (const CIMException& e) {
        if (e.getErrNo() == CIMException::INVALID_NAMESPACE) {
            return false;
        }
        if (e.getErrNo() != CIMException::NOT_FOUND) {
            throw;
        }
    }
    return true;
}

/// Who has reserved the namespace, as the end of a message; empty for nobody. Namespace names are
/// compared without regard to case.
String reservedBy(CIMOMHandleIFC& handle, const String& ns) {
    const auto isFor = [&](const CIMValue& name) {
        return blocxx::equalsIgnoreCase(name.toString(), ns);
    };
    for (const CIMObjectPath& association :
         handle.enumInstanceNamesA(KOV_NS, PRODUCT_RESERVED_NAMESPACE)) {
        const auto& reservation = association.getKeyValue("ReservedNamespace").get<CIMObjectPath>();
        if (isFor(reservation.getKeyValue("Name"))) {
            const auto& product = association.getKeyValue("Product").get<CIMObjectPath>();
            return Format("the product \"%1\" has reserved it",
                          product.getKeyValue("Name").toString());
        }
    }
    for (const CIMObjectPath& path : handle.enumInstanceNamesA(KOV_NS, RESERVED_NAMESPACE)) {
        if (isFor(path.getKeyValue("Name"))) {
            return Format(
                "it is reserved, but by no product. If a run that was killed has left it, delete "
                "it, with everything in it, by \"owdeletenamespace --reserved %1\"; then run the "
                "command again",
                ns);
        }
    }
    return {};
}

bool belongsToTheInstallation(const String& ns) {
    return blocxx::equalsIgnoreCase(ns, KOV_NS) || blocxx::equalsIgnoreCase(ns, SECURITY_NS) ||
           blocxx::equalsIgnoreCase(ns, Layout::INTEROP_NS);
}

/// What the administrator should know about a namespace that exists, as the end of a message.
String circumstances(CIMOMHandleIFC& handle, const String& ns) {
    if (belongsToTheInstallation(ns)) {
        return "; every installation has it";
    }
    const String owner = reservedBy(handle, ns);
    if (!owner.empty()) {
        return "; " + owner;
    }
    return Format(
        ", and nothing refers to it. If a run that failed has left it, delete it, with everything "
        "in it, by \"owdeletenamespace %1\"; then run the command again",
        ns);
}

void requireAbsent(CIMOMHandleIFC& handle, const char* ns, const CIMObjectPath& path) {
    try {
        handle.getInstance(ns, path);
    } catch (const CIMException& e) {
        if (e.getErrNo() == CIMException::NOT_FOUND) {
            return;
        }
        throw;
    }
    OPENWBEM_THROW_CIM(
        ALREADY_EXISTS,
        Format("the instance %1 exists already in the namespace \"%2\". Delete it by "
               "\"owdeleteinstance -n %2 %3\"; then run the command again",
               path.modelPath(), ns, shellWord(path.modelPath())));
}

}  // namespace

void checkUsers(const StringArray& userNames, const StringArray& readOnlyUserNames) {
    std::set<String> named{"root"};
    for (const StringArray* list : {&userNames, &readOnlyUserNames}) {
        for (const String& user : *list) {
            if (user != "root" && !named.insert(user).second) {
                OPENWBEM_THROW_CIM(ALREADY_EXISTS,
                                   Format("the user \"%1\" is named twice; name each user once, "
                                          "with --username or with --ro-username",
                                          user));
            }
        }
    }
}

void checkNamespaces(CIMOMHandleIFC& handle, const StringArray& namespaces) {
    std::set<String> named;
    for (const String& ns : namespaces) {
        if (!OpenWBEM::isNamespaceName(ns)) {
            refuseNamespace(
                CIMException::INVALID_PARAMETER,
                Format("\"%1\" is not a namespace name. It takes names joined by \"/\", each of "
                       "letters, digits and underscores, and none beginning with a digit",
                       ns));
        }
        if (!named.insert(blocxx::toLower(ns)).second) {
            refuseNamespace(CIMException::ALREADY_EXISTS,
                            Format("the namespace \"%1\" is named twice", ns));
        }
        if (exists(handle, ns)) {
            refuseNamespace(
                CIMException::ALREADY_EXISTS,
                Format("the namespace \"%1\" exists already%2", ns, circumstances(handle, ns)));
        }
    }
}

void checkInstances(CIMOMHandleIFC& handle, const String& productName, const StringArray& userNames,
                    const StringArray& readOnlyUserNames, const StringArray& namespaces) {
    for (const String& ns : namespaces) {
        for (const StringArray* list : {&userNames, &readOnlyUserNames}) {
            for (const String& user : *list) {
                requireAbsent(handle, SECURITY_NS, accessPath(ns, user));
            }
        }
        requireAbsent(handle, SECURITY_NS, accessPath(ns, "root"));
        requireAbsent(handle, KOV_NS, reservationPath(ns));
        requireAbsent(handle, KOV_NS, reservedByPath(productName, ns));
    }
}

}  // namespace KOVNS2::NamespaceClashes
