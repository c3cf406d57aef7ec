// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Printable.hpp"

#include <algorithm>

namespace blocxx {

namespace {

struct Range {
    unsigned char first;
    unsigned char last;
    bool contains(char c) const {
        const auto byte = static_cast<unsigned char>(c);
        return first <= byte && byte <= last;
    }
};

/// A sequence of UTF-8 (RFC 3629): its first byte, how many bytes follow, and the valid second
/// bytes. The table leaves out the control characters U+0080 to U+009F.
struct Sequence {
    Range lead;
    size_t following;
    Range second;
};
constexpr Sequence SEQUENCES[] = {
    {{0xC2, 0xC2}, 1, {0xA0, 0xBF}}, {{0xC3, 0xDF}, 1, {0x80, 0xBF}},
    {{0xE0, 0xE0}, 2, {0xA0, 0xBF}}, {{0xE1, 0xEC}, 2, {0x80, 0xBF}},
    {{0xED, 0xED}, 2, {0x80, 0x9F}}, {{0xEE, 0xEF}, 2, {0x80, 0xBF}},
    {{0xF0, 0xF0}, 3, {0x90, 0xBF}}, {{0xF1, 0xF3}, 3, {0x80, 0xBF}},
    {{0xF4, 0xF4}, 3, {0x80, 0x8F}},
};
constexpr Range CONTINUATION{0x80, 0xBF};
constexpr Range PLAIN{0x20, 0x7E};

/// The length of the first character of `text` in bytes, or 0 when it must be written out.
size_t shownLength(std::string_view text) {
    const char first = text.front();
    if (PLAIN.contains(first) || first == '\n' || first == '\t') {
        return 1;
    }
    for (const Sequence& sequence : SEQUENCES) {
        if (sequence.lead.contains(first)) {
            const std::string_view rest = text.substr(1, sequence.following);
            const bool isWhole =
                rest.size() == sequence.following && sequence.second.contains(rest.front()) &&
                std::ranges::all_of(rest, [](char c) { return CONTINUATION.contains(c); });
            return isWhole ? 1 + sequence.following : 0;
        }
    }
    return 0;
}

void appendWrittenOut(String& out, char c) {
    if (c == '\r') {
        out += "\\r";
        return;
    }
    constexpr const char* DIGITS = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    out += "\\x";
    out += DIGITS[byte >> 4U];
    out += DIGITS[byte & 0xFU];
}

}  // namespace

String printable(std::string_view text) {
    String out;
    out.reserve(text.size());
    while (!text.empty()) {
        const size_t length = shownLength(text);
        if (length == 0) {
            appendWrittenOut(out, text.front());
        }
        out += text.substr(0, length);
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return out;
}

}  // namespace blocxx
