// SPDX-License-Identifier: Apache-2.0
//
// Brings the schema into a repository that is opened directly: a new one, or one that an older
// version has filled.
#pragma once

#include "utilities/kov-setup/SchemaUpgrade.hpp"

namespace KovSetup {

/// Creates the repository in `directory`, which must exist and be empty, with the schema and no
/// instances, and commits it. Throws CIMException or FileSystemException; the caller then removes
/// what was made.
void buildRepository(const String& directory, const Schema& schema);

/// Checks the repository and brings it up to date in one unit of work. Returns a line for each
/// change. Throws blocxx::Exception that says what stands in the way; then nothing has changed.
StringArray upgradeRepository(const String& directory, const Schema& schema);

}  // namespace KovSetup
