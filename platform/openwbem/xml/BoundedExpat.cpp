// SPDX-License-Identifier: Apache-2.0
#include "openwbem/xml/BoundedExpat.hpp"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace OpenWBEM {

namespace {

using XMLLimits::MAX_MARKUP_MEMORY;

/// Precedes each block and keeps it aligned. `size` is how much of the block counts.
struct alignas(std::max_align_t) Header {
    size_t size;
};

/// The total of all parsers in this thread: Expat does not tell its allocator which one calls.
thread_local size_t allocated = 0;
thread_local size_t maxAllocated = MAX_MARKUP_MEMORY;
/// Whether the current allocation is for the document, which does not count.
thread_local bool isDocument = false;

Header* headerOf(void* block) noexcept {
    return static_cast<Header*>(block) - 1;
}

bool fits(size_t size, size_t instead) noexcept {
    return size <= maxAllocated && allocated - instead <= maxAllocated - size;
}

void* resize(Header* old, size_t size) noexcept {
    const size_t oldSize = old != nullptr ? old->size : 0;
    const size_t counted = isDocument ? 0 : size;
    if (!fits(counted, oldSize)) {
        return nullptr;
    }
    auto* const header = static_cast<Header*>(std::realloc(old, sizeof(Header) + size));
    if (header == nullptr) {
        return nullptr;
    }
    header->size = counted;
    allocated = allocated - oldSize + counted;
    return header + 1;
}

extern "C" {

void* openwbemExpatMalloc(size_t size) {
    return resize(nullptr, size);
}

void* openwbemExpatRealloc(void* block, size_t size) {
    return resize(block != nullptr ? headerOf(block) : nullptr, size);
}

void openwbemExpatFree(void* block) {
    if (block != nullptr) {
        allocated -= headerOf(block)->size;
        std::free(headerOf(block));
    }
}
}

/// Runs `parse` with a limit of its own.
template <class Parse>
XML_Status limited(size_t limit, const Parse& parse) {
    maxAllocated = limit;
    const XML_Status status = parse();
    maxAllocated = MAX_MARKUP_MEMORY;
    return status;
}

constexpr XML_Memory_Handling_Suite MEMORY{openwbemExpatMalloc, openwbemExpatRealloc,
                                           openwbemExpatFree};

}  // namespace

BoundedExpat::BoundedExpat(size_t limit)
    : m_parser(XML_ParserCreate_MM(nullptr, &MEMORY, nullptr)), m_limit(limit) {
    if (m_parser == nullptr) {
        throw std::bad_alloc();
    }
}

char* BoundedExpat::documentBuffer(int size) {
    isDocument = true;
    void* const buffer = XML_GetBuffer(m_parser, std::max(size, 1));
    isDocument = false;
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<char*>(buffer);
}

XML_Status BoundedExpat::parseBuffer(int size) {
    return limited(m_limit, [&] { return XML_ParseBuffer(m_parser, size, XML_TRUE); });
}

XML_Status BoundedExpat::resume() {
    return limited(m_limit, [&] { return XML_ResumeParser(m_parser); });
}

BoundedExpat::~BoundedExpat() {
    XML_ParserFree(m_parser);
}

}  // namespace OpenWBEM
