// SPDX-License-Identifier: Apache-2.0
//
// The undo steps on namespaces. They report their own failure and do not throw for it.
#pragma once

#include "fennik/namespace/NamespaceUtils.hpp"
#include "fennik/undo/FNCleanupActions.hpp"

namespace KOVNS2 {

void deleteNamespace(const NamespaceUtilsRef& namespaces, const String& ns);
void createNamespace(const NamespaceUtilsRef& namespaces, const String& ns);

}  // namespace KOVNS2
