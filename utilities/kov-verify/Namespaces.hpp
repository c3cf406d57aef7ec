// SPDX-License-Identifier: Apache-2.0
//
// Checks the namespaces of a product and their users' rights.
#pragma once

#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

/// Reads the names of the namespaces, from the repository's own handle, and the rights.
void readNamespaces(Context& context, const OpenWBEM::CIMOMHandleIFCRef& repository);
void checkNamespaces(Context& context, const String& product);

}  // namespace KovVerify
