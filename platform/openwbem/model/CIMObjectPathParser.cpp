// SPDX-License-Identifier: Apache-2.0
//
// Parses the text form of object paths, which may be hostile.
#include <algorithm>
#include <charconv>

#include "blocxx/Utf8.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/Identifier.hpp"
#include "openwbem/model/ModelSupport.hpp"

namespace OpenWBEM {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNameSpaceChar(char c) {
    return isIdentifierPart(c) || c == '-' || c == '.';
}

class PathParser {
public:
    explicit PathParser(std::string_view text) : m_text(text) {}

    CIMObjectPath parse() {
        checkCharacters();
        CIMObjectPath path;
        if (m_text.starts_with("//")) {
            path.setHost(host());
        }
        if (const size_t end = nameSpaceEnd(); end != std::string_view::npos) {
            path.setNameSpace(String(m_text.substr(m_pos, end - m_pos)));
            m_pos = end + 1;
        }
        path.setClassName(name("a class name"));
        if (!atEnd()) {
            expect('.', "\".\" or the end");
            path.setKeys(keys());
        }
        return path;
    }

private:
    bool atEnd() const { return m_pos >= m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_pos]; }

    [[noreturn]] void fail(size_t offset, const String& wanted) const {
        // Columns count characters: all bytes except continuation bytes.
        const auto columns =
            std::count_if(m_text.begin(), m_text.begin() + static_cast<std::ptrdiff_t>(offset),
                          [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; });
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, "object path \"" + shownText() + ": column " +
                                                  std::to_string(columns + 1) + ": expected " +
                                                  wanted);
    }

    /// The beginning of the text with the closing quote, for messages.
    String shownText() const {
        constexpr size_t SHOWN = 200;
        String shown;
        for (const char c : m_text.substr(0, SHOWN)) {
            const auto byte = static_cast<unsigned char>(c);
            shown += byte < 0x20 || byte >= 0x7F ? '?' : c;
        }
        return shown + (m_text.size() > SHOWN ? "...\"" : "\"");
    }

    void expect(char c, const char* wanted) {
        if (peek() != c || atEnd()) {
            fail(m_pos, wanted);
        }
        ++m_pos;
    }

    void checkCharacters() const {
        const size_t bad = std::min(blocxx::Utf8::findInvalid(m_text), m_text.find('\0'));
        if (bad != std::string_view::npos) {
            fail(bad, "valid UTF-8 without U+0000");
        }
    }

    String host() {
        m_pos = 2;
        const size_t start = m_pos;
        while (!atEnd() && peek() != '/' && static_cast<unsigned char>(peek()) > 0x20) {
            ++m_pos;
        }
        if (m_pos == start) {
            fail(m_pos, "a host name");
        }
        String result(m_text.substr(start, m_pos - start));
        expect('/', "\"/\" after the host name");
        return result;
    }

    /// The offset of the colon after the namespace that begins here; npos when there is no
    /// namespace.
    size_t nameSpaceEnd() const {
        size_t end = m_pos;
        while (end < m_text.size() && (isNameSpaceChar(m_text[end]) || m_text[end] == '/')) {
            if (m_text[end] == '/' && (end == m_pos || m_text[end - 1] == '/')) {
                fail(end, "a name in front of \"/\"");
            }
            ++end;
        }
        if (end >= m_text.size() || m_text[end] != ':') {
            return std::string_view::npos;
        }
        if (end == m_pos || m_text[end - 1] == '/') {
            fail(end, "a namespace name");
        }
        return end;
    }

    String name(const char* wanted) {
        const size_t start = m_pos;
        if (atEnd() || !isIdentifierStart(peek())) {
            fail(m_pos, wanted);
        }
        while (!atEnd() && isIdentifierPart(peek())) {
            ++m_pos;
        }
        return String(m_text.substr(start, m_pos - start));
    }

    CIMPropertyArray keys() {
        CIMPropertyArray result;
        Array<size_t> offsets;
        while (true) {
            offsets.push_back(m_pos);
            String keyName = name("a key name");
            expect('=', "\"=\" after the key name");
            CIMValue keyValue = value();
            CIMDataType type = keyValue.getType();
            result.emplace_back(std::move(keyName), std::move(type), std::move(keyValue));
            result.back().setKey(true);
            if (atEnd()) {
                break;
            }
            expect(',', "\",\" or the end");
        }
        checkUnique(result, offsets);
        return result;
    }

    /// A hostile text may hold any number of keys, so they are sorted instead of compared pairwise.
    void checkUnique(const CIMPropertyArray& found, const Array<size_t>& offsets) const {
        const auto sorted = ModelSupport::sortedByName(found);
        const auto twice = std::adjacent_find(
            sorted.begin(), sorted.end(), [](const CIMProperty* a, const CIMProperty* b) {
                return blocxx::equalsIgnoreCase(a->getName(), b->getName());
            });
        if (twice != sorted.end()) {
            fail(offsets[static_cast<size_t>(*(twice + 1) - found.data())],
                 "a key that is not given already");
        }
    }

    CIMValue value() {
        const char c = peek();
        if (c == '"') {
            return CIMValue(quotedString());
        }
        if (c == '\'') {
            return CIMValue(quotedChar());
        }
        if (isDigit(c) || c == '-' || c == '+' || c == '.') {
            return number();
        }
        return boolean();
    }

    CIMValue boolean() {
        const size_t start = m_pos;
        while (!atEnd() && isIdentifierPart(peek())) {
            ++m_pos;
        }
        const std::string_view word = m_text.substr(start, m_pos - start);
        if (blocxx::equalsIgnoreCase(word, "TRUE")) {
            return CIMValue(true);
        }
        if (blocxx::equalsIgnoreCase(word, "FALSE")) {
            return CIMValue(false);
        }
        fail(start, "a key value: a text in quotes, a number, TRUE or FALSE");
    }

    String quotedString() {
        String result;
        ++m_pos;
        while (true) {
            const size_t end = m_text.find_first_of("\"\\", m_pos);
            if (end == std::string_view::npos) {
                fail(m_text.size(), "a closing \"");
            }
            result += m_text.substr(m_pos, end - m_pos);
            m_pos = end + 1;
            if (m_text[end] == '"') {
                return result;
            }
            if (peek() != '"' && peek() != '\\') {
                fail(m_pos, "\\ or \" after \\");
            }
            result += m_text[m_pos++];
        }
    }

    Char16 quotedChar() {
        ++m_pos;
        Char16 result;
        if (atEnd() || peek() == '\'') {
            fail(m_pos, "a character");
        }
        if (peek() == '\\') {
            ++m_pos;
            result.unit = escapedUnit();
        } else {
            const size_t start = m_pos;
            const uint32_t codePoint = blocxx::Utf8::next(m_text, m_pos);
            if (codePoint > 0xFFFF) {
                fail(start, "a character of 16 bits");
            }
            result.unit = static_cast<char16_t>(codePoint);
        }
        expect('\'', "a closing '");
        return result;
    }

    /// What follows a backslash in a char16: a quote, a backslash, or x and four hex digits.
    char16_t escapedUnit() {
        const char c = peek();
        if (c == '\\' || c == '\'' || c == '"') {
            ++m_pos;
            return static_cast<char16_t>(c);
        }
        unsigned unit = 0;
        const std::string_view digits = m_text.substr(std::min(m_pos + 1, m_text.size()), 4);
        const auto end =
            std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16).ptr;
        if ((c != 'x' && c != 'X') || end != digits.data() + 4) {
            fail(m_pos, "\\, ', \" or x and four hex digits after \\");
        }
        m_pos += 5;
        return static_cast<char16_t>(unit);
    }

    CIMValue number() {
        const size_t start = m_pos;
        while (!atEnd() &&
               (isIdentifierPart(peek()) || peek() == '.' || peek() == '-' || peek() == '+')) {
            ++m_pos;
        }
        std::string_view digits = m_text.substr(start, m_pos - start);
        if (digits.starts_with('+')) {
            digits.remove_prefix(1);
            if (digits.starts_with('-')) {
                fail(start + 1, "a digit");
            }
        }
        return digits.find('.') != std::string_view::npos ? real(digits, start)
                                                          : integer(digits, start);
    }

    template <class Number>
    Number exactly(std::string_view digits, size_t start) const {
        Number result = 0;
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), result);
        if (error == std::errc::result_out_of_range) {
            fail(start, "a number in the range of its type");
        }
        if (error != std::errc() || end != digits.data() + digits.size()) {
            fail(start, "a decimal number");
        }
        return result;
    }

    CIMValue integer(std::string_view digits, size_t start) const {
        const std::string_view magnitude = digits.substr(digits.starts_with('-') ? 1 : 0);
        if (magnitude.size() > 1 && magnitude.front() == '0') {
            fail(start, "a decimal number without leading zeros");
        }
        // Each number has one type: sint64 if it is negative, else uint64. "-0" is 0.
        return magnitude.size() != digits.size() && magnitude != "0"
                   ? CIMValue(exactly<int64_t>(digits, start))
                   : CIMValue(exactly<uint64_t>(magnitude, start));
    }

    CIMValue real(std::string_view digits, size_t start) const {
        const size_t point = digits.find('.');
        if (point + 1 >= digits.size() || !isDigit(digits[point + 1])) {
            fail(start, "a real number with a digit after the point");
        }
        return CIMValue(exactly<double>(digits, start));
    }

    std::string_view m_text;
    size_t m_pos = 0;
};

}  // namespace

CIMObjectPath CIMObjectPath::parse(std::string_view text) {
    return PathParser(text).parse();
}

}  // namespace OpenWBEM
