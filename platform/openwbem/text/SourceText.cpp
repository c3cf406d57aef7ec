// SPDX-License-Identifier: Apache-2.0
#include "openwbem/text/SourceText.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "blocxx/Utf8.hpp"

namespace OpenWBEM {

namespace {

// How many characters are shown before and after an error in its line, and of a token.
constexpr size_t SHOWN_BEFORE = 60;
constexpr size_t SHOWN_AFTER = 40;
constexpr size_t SHOWN_OF_TOKEN = 40;

/// Splits `text` into characters, with a replacement for those that must not be printed.
StringArray printable(std::string_view text) {
    StringArray characters;
    while (!text.empty()) {
        const size_t length = blocxx::Utf8::lengthAt(text, 0);
        const auto byte = static_cast<unsigned char>(text[0]);
        if (length == 0) {
            characters.emplace_back("\xEF\xBF\xBD");
        } else if ((byte < 0x20 && byte != '\t') || byte == 0x7f ||
                   (byte == 0xc2 && static_cast<unsigned char>(text[1]) < 0xa0)) {
            characters.emplace_back("?");
        } else {
            characters.emplace_back(text.substr(0, length));
        }
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return characters;
}

/// How many columns of a terminal a character from printable() takes. The table has the ranges of
/// the scripts in use by Unicode's East_Asian_Width and General_Category; others take one column.
size_t columnsOf(std::string_view character) {
    struct Range {
        uint32_t first;
        uint32_t last;
        size_t columns;
    };
    constexpr Range RANGES[] = {
        {0x0300, 0x036F, 0},   {0x0483, 0x0489, 0},  {0x0591, 0x05BD, 0},   {0x064B, 0x065F, 0},
        {0x1100, 0x115F, 2},   {0x1AB0, 0x1AFF, 0},  {0x1DC0, 0x1DFF, 0},   {0x200B, 0x200F, 0},
        {0x20D0, 0x20FF, 0},   {0x2E80, 0x303E, 2},  {0x3041, 0xA4CF, 2},   {0xAC00, 0xD7A3, 2},
        {0xF900, 0xFAFF, 2},   {0xFE00, 0xFE0F, 0},  {0xFE20, 0xFE2F, 0},   {0xFE30, 0xFE6F, 2},
        {0xFF00, 0xFF60, 2},   {0xFFE0, 0xFFE6, 2},  {0x1F300, 0x1F64F, 2}, {0x1F900, 0x1F9FF, 2},
        {0x20000, 0x3FFFD, 2}, {0xE0100, 0xE01EF, 0}};
    size_t offset = 0;
    const uint32_t code = blocxx::Utf8::next(character, offset);
    for (const Range& range : RANGES) {
        if (code >= range.first && code <= range.last) {
            return range.columns;
        }
    }
    return 1;
}

size_t countCharacters(std::string_view text) {
    size_t count = 0;
    while (!text.empty()) {
        text.remove_prefix(std::max<size_t>(blocxx::Utf8::lengthAt(text, 0), 1));
        ++count;
    }
    return count;
}

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

/// Moves back over at most `count` characters, not beyond `least`.
const char* back(const char* at, const char* least, size_t count) {
    for (; count > 0 && at > least; --count) {
        --at;
        for (int i = 0; i < 3 && at > least && isContinuation(*at); ++i) {
            --at;
        }
    }
    return at;
}

String join(const StringArray& pieces) {
    String text;
    for (const String& piece : pieces) {
        text += piece;
    }
    return text;
}

const char* lineBegin(const SourceText& text, const char* at) {
    while (at > text.begin() && at[-1] != '\n') {
        --at;
    }
    return at;
}

const char* lineEnd(const SourceText& text, const char* at) {
    at = std::find(at, text.end(), '\n');
    return at > text.begin() && at < text.end() && at[-1] == '\r' ? at - 1 : at;
}

/// The line around `at` and a caret below it.
String excerpt(const SourceText& text, const char* at) {
    const char* const begin = lineBegin(text, at);
    const char* const end = std::max(at, lineEnd(text, at));
    const char* const from = back(at, begin, SHOWN_BEFORE);
    const StringArray before = printable({from, at});
    const auto most = std::min<size_t>(static_cast<size_t>(end - at), SHOWN_AFTER * 4);
    StringArray after = printable({at, most});
    const bool cut = after.size() > SHOWN_AFTER;
    if (cut) {
        after.resize(SHOWN_AFTER);
    }
    const char* const ellipsis = from > begin ? "..." : "";
    String caret(String(ellipsis).size(), ' ');
    for (const String& character : before) {
        if (character == "\t") {
            caret += '\t';
        } else {
            caret.append(columnsOf(character), ' ');
        }
    }
    return ellipsis + join(before) + join(after) + (cut ? "..." : "") + "\n" + caret + "^";
}

}  // namespace

SourceText::SourceText(Source source)
    : m_name(std::move(source.name)),
      m_text(std::move(source.text)),
      m_file(source.file),
      m_size(m_text.size()) {
    if (m_size > MAX_SIZE) {
        throw CompileError{nullptr, "the text is too large"};
    }
    m_text.append(2, '\0');
    if (m_size >= 3 && m_text.compare(0, 3, "\xEF\xBB\xBF") == 0) {
        m_mark = 3;
    }
}

String SourceText::take() && {
    m_text.resize(m_size);
    return std::move(m_text);
}

SourceText::Place SourceText::locate(const char* at) const noexcept {
    return {1 + static_cast<size_t>(std::count(begin(), at, '\n')),
            1 + countCharacters({lineBegin(*this, at), at})};
}

String SourceText::describe(const CompileError& error) const {
    const Place place = locate(error.at);
    return blocxx::Format("%1:%2:%3: error: %4\n%5", blocxx::oneLine(m_name), place.line,
                          place.column, blocxx::oneLine(error.what), excerpt(*this, error.at));
}

String inQuotes(std::string_view token) {
    bool cut = token.size() > SHOWN_OF_TOKEN * 4;
    StringArray characters = printable(token.substr(0, SHOWN_OF_TOKEN * 4));
    if (characters.size() > SHOWN_OF_TOKEN) {
        characters.resize(SHOWN_OF_TOKEN);
        cut = true;
    }
    return "'" + join(characters) + (cut ? "...'" : "'");
}

}  // namespace OpenWBEM
