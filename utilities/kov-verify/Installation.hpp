// SPDX-License-Identifier: Apache-2.0
//
// Checks what belongs to no product: directories, owners, and what interrupted runs have left.
#pragma once

#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

/// Finds out which owners, modes and access lists deviate, on this machine only.
void lookAtOwnership(Context& context);
/// Reports those that no product has reported, and a missing configuration.
void checkConfiguration(Context& context);
/// Reports what interrupted runs have left around the repository. Returns whether the repository
/// can be opened without changing it.
bool checkLeftOvers(Context& context);

}  // namespace KovVerify
