// SPDX-License-Identifier: Apache-2.0
//
// Small operations on texts that several rooms of the tool share.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

/// The parts in order with `separator` between neighbours.
blocxx::String untokenize(const blocxx::StringArray& parts, const blocxx::String& separator);

/// `text` with every occurrence of `search` replaced, left to right; what was inserted is not
/// searched again. An empty `search` occurs nowhere.
blocxx::String search_replace(const blocxx::String& text, const blocxx::String& search,
                              const blocxx::String& replacement);

/// Equality that ignores the case of ASCII letters; fit for the standard algorithms.
bool equals_ignorecase(const blocxx::String& left, const blocxx::String& right);

}  // namespace KOVNS2
