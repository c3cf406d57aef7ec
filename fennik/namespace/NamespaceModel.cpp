// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/NamespaceModel.hpp"

#include <ostream>

#include "fennik/undo/FennikException.hpp"
#include "fennik/undo/TextUtils.hpp"

namespace KOVNS2::NamespaceModel {

UnitLog log() {
    return UnitLog("NamespaceRegistration: ");
}

std::ostream& operator<<(std::ostream& out, const Quoted& quoted) {
    return out << untokenize(quoted.list, "\" \"");
}

namespace {

bool mayOwn(const String& productName, const String& ns) {
    return ns.starts_with(productName) || (productName == "dorvik" && ns.starts_with("zeb"));
}

}  // namespace

void CheckNSBeginWithProd(const StringArray& namespaces, const String& productName, int errorCode) {
    for (const String& ns : namespaces) {
        if (!mayOwn(productName, ns)) {
            BLOCXX_THROW_ERR(FennikException,
                             blocxx::Format("Namespace %1 must begin with %2.", ns, productName),
                             errorCode);
        }
    }
}

}  // namespace KOVNS2::NamespaceModel
