// SPDX-License-Identifier: Apache-2.0
//
// Limits on the documents that are read, and so on those that are worth writing.
#pragma once

#include <cstddef>

namespace OpenWBEM::XMLLimits {

/// The largest document, in bytes.
inline constexpr size_t MAX_DOCUMENT_SIZE = size_t{1024} * 1024 * 1024;
/// The most elements and attributes of a document.
inline constexpr size_t MAX_ITEMS = 4000000;
/// How much the parser may allocate besides the document, in bytes: for names, attribute values and
/// open elements, but not for text.
inline constexpr size_t MAX_MARKUP_MEMORY = size_t{64} * 1024 * 1024;

}  // namespace OpenWBEM::XMLLimits
