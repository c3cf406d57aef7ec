// SPDX-License-Identifier: Apache-2.0
//
// Making an installation ready for use: account, directories, default configuration and an empty
// repository with the schema. Carries out nothing where a repository is already.
#pragma once

#include "blocxx/String.hpp"
#include "layout/Layout.hpp"

namespace KovSetup {

/// The schema is that of the MOF files in `schemaDirectory`. Throws blocxx::Exception; the
/// directories made by then stay, a repository does not.
void setUp(const Layout::Tree& tree, const blocxx::String& schemaDirectory);

}  // namespace KovSetup
