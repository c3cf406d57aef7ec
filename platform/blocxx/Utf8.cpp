// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Utf8.hpp"

#include <array>
#include <cstring>

namespace blocxx::Utf8 {

namespace {

constexpr uint64_t HIGH_BITS = 0x8080808080808080U;

unsigned char byteAt(std::string_view text, size_t offset) noexcept {
    return static_cast<unsigned char>(text[offset]);
}

/// The offset of the first block of `Words` words that is not all ASCII or not whole.
template <size_t Words>
size_t skipAsciiBlocks(std::string_view text, size_t offset) noexcept {
    std::array<uint64_t, Words> block;
    while (text.size() - offset >= sizeof block) {
        std::memcpy(block.data(), text.data() + offset, sizeof block);
        uint64_t all = 0;
        for (const uint64_t word : block) {
            all |= word;
        }
        if ((all & HIGH_BITS) != 0) {
            break;
        }
        offset += sizeof block;
    }
    return offset;
}

/// The end of the ASCII text that begins at `offset`.
size_t skipAscii(std::string_view text, size_t offset) noexcept {
    offset = skipAsciiBlocks<1>(text, skipAsciiBlocks<8>(text, offset));
    while (offset < text.size() && byteAt(text, offset) < 0x80) {
        ++offset;
    }
    return offset;
}

}  // namespace

// The second byte's range rules out overlong forms, surrogates and what is above U+10FFFF (RFC
// 3629, clause 4).
size_t lengthAt(std::string_view text, size_t offset) noexcept {
    const unsigned char lead = byteAt(text, offset);
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() - offset < length) {
        return 0;
    }
    const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    const unsigned char second = byteAt(text, offset + 1);
    if (second < low || second > high) {
        return 0;
    }
    for (size_t i = 2; i < length; ++i) {
        if ((byteAt(text, offset + i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    return length;
}

size_t findInvalid(std::string_view text) noexcept {
    size_t offset = skipAscii(text, 0);
    while (offset < text.size()) {
        const size_t length = lengthAt(text, offset);
        if (length == 0) {
            return offset;
        }
        offset = skipAscii(text, offset + length);
    }
    return std::string_view::npos;
}

bool append(String& out, uint32_t codePoint) {
    const auto continuation = [codePoint](unsigned shift) {
        return static_cast<char>(0x80U | ((codePoint >> shift) & 0x3FU));
    };
    if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
        return false;
    }
    if (codePoint < 0x80) {
        out += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        out += {static_cast<char>(0xC0U | (codePoint >> 6U)), continuation(0)};
    } else if (codePoint < 0x10000) {
        out += {static_cast<char>(0xE0U | (codePoint >> 12U)), continuation(6), continuation(0)};
    } else {
        out += {static_cast<char>(0xF0U | (codePoint >> 18U)), continuation(12), continuation(6),
                continuation(0)};
    }
    return true;
}

uint32_t next(std::string_view text, size_t& offset) noexcept {
    const unsigned char lead = byteAt(text, offset++);
    if (lead < 0x80) {
        return lead;
    }
    const unsigned more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    uint32_t codePoint = lead & (0x3FU >> more);
    for (unsigned i = 0; i < more && offset < text.size(); ++i) {
        codePoint = (codePoint << 6U) | (byteAt(text, offset++) & 0x3FU);
    }
    return codePoint;
}

}  // namespace blocxx::Utf8
