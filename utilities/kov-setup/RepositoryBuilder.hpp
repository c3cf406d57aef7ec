// SPDX-License-Identifier: Apache-2.0
//
// An empty repository with the namespaces that an installation starts with and the schema in them.
#pragma once

#include "utilities/kov-setup/Layout.hpp"

namespace KovSetup {

/// Makes the repository in an existing, empty directory; when it returns, it is complete and on the
/// disk. Throws what the compiler, the repository and the reading of the schema files throw; what
/// was made by then is left for the caller to remove.
void buildRepository(const String& directory, const Layout& layout);

}  // namespace KovSetup
