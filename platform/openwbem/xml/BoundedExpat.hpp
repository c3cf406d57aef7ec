// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: an Expat parser with a limit on its memory.
#pragma once

#include <expat.h>

namespace OpenWBEM {

/// Expat may allocate XMLLimits::MAX_MARKUP_MEMORY bytes besides the document.
class BoundedExpat {
public:
    /// Throws std::bad_alloc.
    BoundedExpat();
    ~BoundedExpat();
    BoundedExpat(const BoundedExpat&) = delete;
    BoundedExpat& operator=(const BoundedExpat&) = delete;

    XML_Parser get() const noexcept { return m_parser; }
    /// The buffer for a document of `size` bytes, which XML_ParseBuffer() parses. Throws
    /// std::bad_alloc.
    char* documentBuffer(int size);

private:
    XML_Parser m_parser;
};

}  // namespace OpenWBEM
