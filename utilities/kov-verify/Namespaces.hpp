// SPDX-License-Identifier: Apache-2.0
//
// Checks the namespaces of a product and their users' rights.
#pragma once

#include "utilities/common/Repository.hpp"
#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

/// Reads the names of the namespaces and the rights. Throws CIMException and ExcessException.
void readNamespaces(Context& context, const OwUtilities::Repository& repository);
void checkNamespaces(Context& context, const String& product);

}  // namespace KovVerify
