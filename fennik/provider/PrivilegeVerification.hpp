// SPDX-License-Identifier: Apache-2.0
//
// Checks a privilege text that a product supplied, before anything is written.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

/// Accepts an empty text. Any other must parse, name a user other than root, and include only files
/// that exist below `destDir`. Otherwise throws FennikException; `path` is the text's name in
/// messages.
void verifyPrivileges(const blocxx::String& privileges, const blocxx::String& path,
                      const blocxx::String& destDir);

}  // namespace KOVNS2
