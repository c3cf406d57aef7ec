// SPDX-License-Identifier: Apache-2.0
//
// Text functions shared by the rooms of the tool.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2 {

/// Joins the parts with `separator` between them.
blocxx::String untokenize(const blocxx::StringArray& parts, const blocxx::String& separator);

/// Replaces every occurrence of `search`, left to right; replacements are not searched again. An
/// empty `search` never occurs.
blocxx::String search_replace(const blocxx::String& text, const blocxx::String& search,
                              const blocxx::String& replacement);

/// Quotes the text for a shell where it needs that. Commands in messages have names of products.
blocxx::String shellWord(const blocxx::String& text);

/// Equality that ignores the case of ASCII letters.
bool equals_ignorecase(const blocxx::String& left, const blocxx::String& right);

}  // namespace KOVNS2
