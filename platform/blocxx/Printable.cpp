// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Printable.hpp"

#include <algorithm>

#include "blocxx/Utf8.hpp"

namespace blocxx {

namespace {

/// The length of the first character of `text` in bytes, or 0 when it must be written out: a
/// control character, or not valid UTF-8.
size_t shownLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t length = Utf8::lengthAt(text, 0);
    if (length == 1) {
        return (first >= 0x20 && first != 0x7F) || first == '\n' || first == '\t' ? 1 : 0;
    }
    const bool isControl =
        first == 0xC2 && length == 2 && static_cast<unsigned char>(text[1]) < 0xA0;
    return isControl ? 0 : length;
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

String oneLine(std::string_view text) {
    String line;
    line.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '\n':
                line += "\\n";
                break;
            case '\r':
                line += "\\r";
                break;
            case '\t':
                line += "\\t";
                break;
            default:
                line += c;
        }
    }
    return line;
}

}  // namespace blocxx
