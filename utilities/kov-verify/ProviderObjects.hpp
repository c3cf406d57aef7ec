// SPDX-License-Identifier: Apache-2.0
//
// Checks that the classes, qualifier types and instances that a provider's record names exist.
#pragma once

#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

/// `record` is a KOV_OOP1Provider instance.
void checkProviderObjects(Context& context, const String& product, const CIMInstance& record);

}  // namespace KovVerify
