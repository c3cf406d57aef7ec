// SPDX-License-Identifier: Apache-2.0
//
// Holds what the repository records against what is there.
#pragma once

#include "utilities/kov-verify/Context.hpp"

namespace KovVerify {

struct Outcome {
    Findings findings;
    size_t products = 0;               ///< that were looked at
    bool isRepositoryChecked = false;  ///< false while the daemon has it
    String whyIncomplete{};            ///< empty when everything was looked at
};

/// Verifies the installation below `prefix`; an empty `product` means all. Changes nothing. Nothing
/// else may change the installation meanwhile. Throws blocxx::Exception when something cannot be
/// looked at, or the product is not registered.
Outcome verify(const String& prefix, const String& product);

}  // namespace KovVerify
