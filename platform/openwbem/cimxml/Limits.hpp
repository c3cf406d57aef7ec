// SPDX-License-Identifier: Apache-2.0
//
// How large a document may be that is read. Time and memory for reading are in proportion to its
// size.
#pragma once

#include <cstddef>

namespace OpenWBEM::CIMXML::Limits {

/// The largest document, in bytes.
inline constexpr size_t MAX_DOCUMENT_SIZE = size_t{16} * 1024 * 1024;
/// The most elements that are open at once, those around included. References and embedded objects
/// may be eight deep in the model, and a reference takes four elements.
inline constexpr unsigned MAX_DEPTH = 64;
/// The most embedded objects that are open at once: more than the model can hold.
inline constexpr unsigned MAX_EMBEDDED = 9;
/// The most attributes of an element.
inline constexpr unsigned MAX_ATTRIBUTES = 32;
/// The longest name or other value of an attribute, in bytes.
inline constexpr size_t MAX_ATTRIBUTE_SIZE = 8192;
/// How much the parser may allocate besides the document, in bytes: for names, attributes and open
/// elements. Of names DSP0201 has few.
inline constexpr size_t MAX_MARKUP_MEMORY = size_t{4} * 1024 * 1024;
/// The most properties, keys, qualifiers, methods or parameters of one element.
inline constexpr size_t MAX_LIST = 16384;
/// The most names in a property list, as on the daemon's socket.
inline constexpr size_t MAX_PROPERTY_LIST = 4096;

}  // namespace OpenWBEM::CIMXML::Limits
