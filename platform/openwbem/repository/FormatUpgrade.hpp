// SPDX-License-Identifier: Apache-2.0
//
// Brings a repository file from an older format to the present one.
#pragma once

#include "openwbem/repository/Connection.hpp"

namespace OpenWBEM::FormatUpgrade {

/// Runs the steps from the format `from`, a known one, to the last of `known`, in the transaction
/// that is open. Each step must leave exactly the schema of its format. Throws CIMException; the
/// caller then rolls back.
void run(Connection& connection, int32_t from,
         RepositoryFormat::KnownFormats known = RepositoryFormat::KNOWN);

}  // namespace OpenWBEM::FormatUpgrade
