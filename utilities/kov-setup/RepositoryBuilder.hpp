// SPDX-License-Identifier: Apache-2.0
//
// An empty repository with the namespaces that an installation starts with and the schema in them.
#pragma once

#include "blocxx/String.hpp"

namespace KovSetup {

/// Makes the repository in an existing, empty directory, with the MOF files of the other one as its
/// schema; when it returns, it is complete and on the disk. Throws what the compiler, the
/// repository and the reading of the schema files throw; what was made by then is left for the
/// caller to remove.
void buildRepository(const blocxx::String& directory, const blocxx::String& schemaDirectory);

}  // namespace KovSetup
