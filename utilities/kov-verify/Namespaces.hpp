// SPDX-License-Identifier: Apache-2.0
//
// Checks the namespaces of a product and their users' rights.
#pragma once

#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

/// Reads the names of the namespaces and the rights into the context.
void readNamespaces(Context& context);
void checkNamespaces(Context& context, const String& product);

}  // namespace KovVerify
