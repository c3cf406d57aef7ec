// SPDX-License-Identifier: Apache-2.0
//
// Checks the providers of a product: what their records name in the repository, their privilege
// files and their programs.
#pragma once

#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

void checkProviders(Context& context, const String& product);

}  // namespace KovVerify
