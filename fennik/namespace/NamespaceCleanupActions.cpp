// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/NamespaceCleanupActions.hpp"

namespace KOVNS2 {

void deleteNamespace(const NamespaceUtilsRef& namespaces, const String& ns) {
    runUndoStep([&] { namespaces->DeleteNamespace(ns); },
                {[&] { return "The attempt to delete the namespace: " + ns; },
                 "delete the namespace. The owdeletenamespace utility can be used."});
}

void createNamespace(const NamespaceUtilsRef& namespaces, const String& ns) {
    runUndoStep([&] { namespaces->CreateNamespace(ns); },
                {[&] { return "The attempt to create the namespace: " + ns; },
                 "create the namespace. The owmofc utility can be used."});
}

}  // namespace KOVNS2
