// SPDX-License-Identifier: Apache-2.0
//
// Finds what belongs to no registered product: privilege files and what the repository records.
#pragma once

#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

/// To be called after the checks of all products, whose names are given.
void checkOrphans(Context& context, const std::set<String>& products);

}  // namespace KovVerify
