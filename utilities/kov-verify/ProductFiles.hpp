// SPDX-License-Identifier: Apache-2.0
//
// Checks a product's files in the drop-in directory.
#pragma once

#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

/// Checks the name, the allowed users file and the configuration snippet of a KOV_Product instance.
void checkProductFiles(Context& context, const CIMInstance& product);
/// Reports the allowed users files of products that are not registered.
void checkForeignUsers(Context& context, const std::set<String>& products);

}  // namespace KovVerify
