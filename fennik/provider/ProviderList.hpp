// SPDX-License-Identifier: Apache-2.0
//
// Parses provider registration lists.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2::ProviderList {

using blocxx::String;

/// The paths in one line of the list, unchanged.
struct Entry {
    String registrationMof;
    String providerMof;
    String privileges;  ///< empty when the provider has no privilege file of its own
};

/// Parses "oop1,REGISTRATION_MOF,PROVIDER_MOF[,PRIVILEGES]". Throws FennikException for any other
/// line.
Entry parseEntry(const String& line);

}  // namespace KOVNS2::ProviderList
