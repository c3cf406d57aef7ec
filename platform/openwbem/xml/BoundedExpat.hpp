// SPDX-License-Identifier: Apache-2.0
//
// An Expat parser with a limit on its memory, for this folder and for rooms that read elements
// without a tree.
#pragma once

#include <expat.h>

#include "openwbem/xml/XMLLimits.hpp"

namespace OpenWBEM {

class BoundedExpat {
public:
    /// All parsers of a thread together may allocate `limit` bytes besides the documents, while
    /// this one parses through parseBuffer() and resume(); otherwise XMLLimits::MAX_MARKUP_MEMORY.
    /// Throws std::bad_alloc.
    explicit BoundedExpat(size_t limit = XMLLimits::MAX_MARKUP_MEMORY);
    ~BoundedExpat();
    BoundedExpat(const BoundedExpat&) = delete;
    BoundedExpat& operator=(const BoundedExpat&) = delete;

    XML_Parser get() const noexcept { return m_parser; }
    /// The buffer for a document of `size` bytes, which XML_ParseBuffer() parses. Throws
    /// std::bad_alloc.
    char* documentBuffer(int size);
    /// Parses that buffer, which is a whole document.
    XML_Status parseBuffer(int size);
    XML_Status resume();

private:
    XML_Parser m_parser;
    size_t m_limit;
};

}  // namespace OpenWBEM
