// SPDX-License-Identifier: Apache-2.0
//
// Sets up an installation: account, directories, default configuration and an empty repository with
// the schema. Changes nothing when there is a repository already.
#pragma once

#include "blocxx/String.hpp"
#include "layout/Layout.hpp"

namespace KovSetup {

/// Sets up `tree` with the schema in the MOF files of `schemaDirectory`. Throws blocxx::Exception;
/// then the directories, the account and the configuration file made so far stay, but no repository
/// does.
void setUp(const Layout::Tree& tree, const blocxx::String& schemaDirectory);

}  // namespace KovSetup
