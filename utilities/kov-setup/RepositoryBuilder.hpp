// SPDX-License-Identifier: Apache-2.0
//
// Builds the repository of a new installation: its namespaces with the schema, and no instances.
#pragma once

#include "blocxx/String.hpp"

namespace KovSetup {

/// Creates the repository in `directory`, which must exist and be empty, from the MOF files in
/// `schemaDirectory`, and commits it. Throws MOFCompilerException, CIMException or
/// FileSystemException; the caller then removes what was made.
void buildRepository(const blocxx::String& directory, const blocxx::String& schemaDirectory);

}  // namespace KovSetup
