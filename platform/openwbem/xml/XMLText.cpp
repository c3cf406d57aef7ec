// SPDX-License-Identifier: Apache-2.0
#include "openwbem/xml/XMLText.hpp"

#include <algorithm>
#include <array>
#include <ostream>

#include "blocxx/Utf8.hpp"

namespace OpenWBEM::XMLText {

namespace {

constexpr std::string_view WHITE_SPACE = " \t\r\n";

/// What each byte is written as; empty for a byte that is written as it is.
using Replacements = std::array<std::string_view, 128>;

consteval Replacements textReplacements() {
    Replacements table{};
    table['&'] = "&amp;";
    table['<'] = "&lt;";
    table['>'] = "&gt;";
    table['\r'] = "&#13;";
    return table;
}

consteval Replacements attributeReplacements() {
    Replacements table = textReplacements();
    table['"'] = "&quot;";
    table['\t'] = "&#9;";
    table['\n'] = "&#10;";
    return table;
}

constexpr Replacements TEXT = textReplacements();
constexpr Replacements ATTRIBUTE = attributeReplacements();

void write(std::ostream& out, std::string_view text) {
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void write(blocxx::String& out, std::string_view text) {
    out += text;
}

template <class Out>
void writeReplaced(Out& out, std::string_view text, const Replacements& table) {
    size_t plain = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < table.size() && !table[byte].empty()) {
            write(out, text.substr(plain, i - plain));
            write(out, table[byte]);
            plain = i + 1;
        }
    }
    write(out, text.substr(plain));
}

bool isNameByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || byte == '_' || byte == ':' || byte == '-' || byte == '.';
}

bool isNonCharacter(std::string_view text, size_t offset) {
    const std::string_view character = text.substr(offset, 3);
    return character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF";
}

}  // namespace

size_t findUnprintable(std::string_view text) noexcept {
    const std::string_view valid = text.substr(0, blocxx::Utf8::findInvalid(text));
    for (size_t i = 0; i < valid.size(); ++i) {
        const auto byte = static_cast<unsigned char>(valid[i]);
        if (byte < 0x20 ? WHITE_SPACE.find(valid[i]) == std::string_view::npos
                        : byte == 0xEF && isNonCharacter(valid, i)) {
            return i;
        }
    }
    return valid.size() == text.size() ? std::string_view::npos : valid.size();
}

bool isName(std::string_view name) noexcept {
    constexpr std::string_view NOT_FIRST = "-.0123456789";
    return !name.empty() && NOT_FIRST.find(name[0]) == std::string_view::npos &&
           std::ranges::all_of(name, isNameByte) && findUnprintable(name) == std::string_view::npos;
}

bool isBlank(std::string_view text) noexcept {
    return text.find_first_not_of(WHITE_SPACE) == std::string_view::npos;
}

bool holdsOnlyElements(const XMLNode& node) {
    return !node.getChildren().empty() && isBlank(node.getText());
}

void writeText(std::ostream& out, std::string_view text) {
    writeReplaced(out, text, TEXT);
}

void writeAttributeValue(std::ostream& out, std::string_view text) {
    writeReplaced(out, text, ATTRIBUTE);
}

void appendText(blocxx::String& out, std::string_view text) {
    writeReplaced(out, text, TEXT);
}

void appendAttributeValue(blocxx::String& out, std::string_view text) {
    writeReplaced(out, text, ATTRIBUTE);
}

}  // namespace OpenWBEM::XMLText
