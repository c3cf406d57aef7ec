// SPDX-License-Identifier: Apache-2.0
//
// An Expat parser whose own memory is limited. For the sources of this room only.
#pragma once

#include <expat.h>

namespace OpenWBEM {

/// What Expat may allocate besides the document is XMLLimits::MAX_MARKUP_MEMORY.
class BoundedExpat {
public:
    /// Throws std::bad_alloc.
    BoundedExpat();
    ~BoundedExpat();
    BoundedExpat(const BoundedExpat&) = delete;
    BoundedExpat& operator=(const BoundedExpat&) = delete;

    XML_Parser get() const noexcept { return m_parser; }
    /// Room for a document of `size` bytes, which XML_ParseBuffer() takes from there. Throws
    /// std::bad_alloc.
    char* documentBuffer(int size);

private:
    XML_Parser m_parser;
};

}  // namespace OpenWBEM
