// SPDX-License-Identifier: Apache-2.0
#include "openwbem/text/Literals.hpp"

#include <charconv>
#include <cstring>

#include "blocxx/Utf8.hpp"

namespace OpenWBEM {

namespace {

bool isHighSurrogate(uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

int digitOf(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Reads the escape sequences in a literal.
class EscapeReader {
public:
    explicit EscapeReader(const char* end) : m_end(end) {}

    /// The UTF-16 code unit of the escape at `at`. Moves `at` past it.
    uint32_t next(const char*& at) const {
        const char* const begin = at;
        const char kind = at[1];
        at += 2;
        switch (kind) {
            case 'b':
                return '\b';
            case 't':
                return '\t';
            case 'n':
                return '\n';
            case 'f':
                return '\f';
            case 'r':
                return '\r';
            case '"':
            case '\'':
            case '\\':
                return static_cast<unsigned char>(kind);
            case 'x':
            case 'X':
                return hexadecimal(begin, at);
            default:
                throw CompileError{begin,
                                   "unknown escape sequence: expected one of \\b \\t \\n \\f "
                                   "\\r \\\" \\' \\\\ \\x"};
        }
    }

    bool isHexEscape(const char* at) const {
        return m_end - at >= 3 && at[0] == '\\' && (at[1] | 0x20) == 'x';
    }

private:
    uint32_t hexadecimal(const char* begin, const char*& at) const {
        uint32_t unit = 0;
        int digits = 0;
        for (; digits < 4 && at < m_end && digitOf(*at) >= 0; ++digits, ++at) {
            unit = unit * 16 + static_cast<uint32_t>(digitOf(*at));
        }
        if (digits == 0) {
            throw CompileError{begin, "expected one to four hexadecimal digits after \\x"};
        }
        return unit;
    }

    const char* m_end;
};

/// Appends the character of the escape at `at`, or of the two escapes of a surrogate pair.
void appendEscaped(String& out, const EscapeReader& reader, const char*& at) {
    const char* const begin = at;
    uint32_t codePoint = reader.next(at);
    if (isHighSurrogate(codePoint) && reader.isHexEscape(at)) {
        const char* after = at;
        const uint32_t low = reader.next(after);
        if (isLowSurrogate(low)) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
            at = after;
        }
    }
    if (codePoint == 0) {
        throw CompileError{begin, "a string cannot contain the character U+0000"};
    }
    if (!blocxx::Utf8::append(out, codePoint)) {
        throw CompileError{begin, "one half of a surrogate pair is no character"};
    }
}

template <class Real>
bool parseReal(std::string_view token, Real& value) noexcept {
    if (!token.empty() && token[0] == '+') {
        token.remove_prefix(1);
    }
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
    return error == std::errc() && end == token.data() + token.size();
}

int baseOf(std::string_view& digits) {
    const char last = static_cast<char>(digits.back() | 0x20);
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] | 0x20) == 'x') {
        digits.remove_prefix(2);
        return 16;
    }
    if (last == 'b') {
        digits.remove_suffix(1);
        return 2;
    }
    return digits.size() > 1 && digits[0] == '0' ? 8 : 10;
}

}  // namespace

IntegerLiteral readInteger(std::string_view token) noexcept {
    const bool negative = token[0] == '-';
    if (negative || token[0] == '+') {
        token.remove_prefix(1);
    }
    const int base = baseOf(token);
    IntegerLiteral value{negative, false, 0};
    const auto result =
        std::from_chars(token.data(), token.data() + token.size(), value.magnitude, base);
    value.tooLarge = result.ec != std::errc();
    return value;
}

void appendString(String& out, const Text& token) {
    const char* at = token.data + 1;
    const char* const end = token.end() - 1;
    const EscapeReader reader(end);
    while (at < end) {
        const auto* escape =
            static_cast<const char*>(std::memchr(at, '\\', static_cast<size_t>(end - at)));
        out.append(at, escape != nullptr ? escape : end);
        if (escape == nullptr) {
            return;
        }
        at = escape;
        appendEscaped(out, reader, at);
    }
}

String readString(const Text& token) {
    const std::string_view contents(token.data + 1, token.size - 2);
    if (contents.find('\\') == std::string_view::npos) {
        return String(contents);
    }
    String out;
    out.reserve(contents.size());
    appendString(out, token);
    return out;
}

char16_t readChar(const Text& token) {
    const char* at = token.data + 1;
    const char* const end = token.end() - 1;
    if (at == end) {
        throw CompileError{token.data, "expected one character between the quotes"};
    }
    uint32_t unit = 0;
    if (*at == '\\') {
        unit = EscapeReader(end).next(at);
    } else {
        size_t length = 0;
        unit = blocxx::Utf8::next({at, static_cast<size_t>(end - at)}, length);
        at += length;
    }
    if (at != end) {
        throw CompileError{token.data, "expected one character between the quotes"};
    }
    if (unit > 0xFFFF) {
        throw CompileError{token.data, "a char16 holds characters up to U+FFFF only"};
    }
    return static_cast<char16_t>(unit);
}

void failQuoted(const char* begin, const char* end, std::string_view what) {
    for (const char* at = begin + 1; at < end && *at != '\n' && *at != '\r'; ++at) {
        if (*at == '\0') {
            throw CompileError{at, String(what) + " cannot contain a zero byte"};
        }
        if (*at == '\\' && at + 1 < end && at[1] != '\n' && at[1] != '\r') {
            ++at;
        }
    }
    throw CompileError{begin, "unterminated " + String(what.substr(what.find(' ') + 1)) +
                                  ": expected " + (*begin == '"' ? "'\"'" : "\"'\"") +
                                  " before the end of the line"};
}

bool readReal(std::string_view token, float& value) noexcept {
    return parseReal(token, value);
}

bool readReal(std::string_view token, double& value) noexcept {
    return parseReal(token, value);
}

}  // namespace OpenWBEM
