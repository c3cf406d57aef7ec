// SPDX-License-Identifier: Apache-2.0
//
// Validates names of CIM elements (DSP0004 Annex A, IDENTIFIER).
#pragma once

#include <string_view>

namespace OpenWBEM {

/// A letter, an underscore or a character above U+007F, followed by any number of these and digits;
/// valid UTF-8.
bool isIdentifier(std::string_view text) noexcept;

/// Identifiers joined by "/".
bool isNamespaceName(std::string_view text) noexcept;

}  // namespace OpenWBEM
