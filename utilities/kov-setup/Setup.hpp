// SPDX-License-Identifier: Apache-2.0
//
// Sets up an installation: account, directories, default configuration and an empty repository with
// the schema; or takes over one whose repository is there.
#pragma once

#include "blocxx/String.hpp"
#include "layout/Layout.hpp"

namespace KovSetup {

/// Sets up `tree` with the schema in the MOF files of `schemaDirectory`. When there is a
/// repository, it makes what is missing around it, gives everything its owner, mode and access list
/// (on this machine), checks the repository and brings the schema in it up to date; the rest of its
/// content stays. Returns a line for each thing that was missing or wrong then. Throws
/// blocxx::Exception; then what was made and changed so far stays, but no new repository does.
blocxx::StringArray setUp(const Layout::Tree& tree, const blocxx::String& schemaDirectory);

}  // namespace KovSetup
