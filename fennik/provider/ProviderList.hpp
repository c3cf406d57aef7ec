// SPDX-License-Identifier: Apache-2.0
//
// The text of a provider registration list.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2::ProviderList {

using blocxx::String;

/// The paths that one line names, as the line has them.
struct Entry {
    String registrationMof;
    String providerMof;
    String privileges;  ///< empty when the provider has no privilege file of its own
};

/// Reads a line that is not empty. Throws FennikException for one that is not an entry.
Entry parseEntry(const String& line);

}  // namespace KOVNS2::ProviderList
