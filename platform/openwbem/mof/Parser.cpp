// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/Parser.hpp"

#include "MOFGrammar.hpp"
#include "openwbem/mof/Scanner.hpp"

// The scanner's header needs the name that the grammar's prefix changed.
#define YYSTYPE OPENWBEM_MOF_STYPE
#include "MOFLexer.hpp"

namespace OpenWBEM::MOF {

Scanner::Scanner(SourceText& source) : m_state{source.end(), nullptr} {
    if (openwbem_mof_lex_init_extra(&m_state, &m_handle) != 0) {
        throw std::bad_alloc();
    }
    m_nowhere = openwbem_mof__scan_buffer(m_nothing, sizeof(m_nothing), m_handle);
    m_buffer =
        openwbem_mof__scan_buffer(source.scannerBuffer(), source.scannerBufferSize(), m_handle);
}

Scanner::~Scanner() {
    // Going to another buffer is what makes the scanner put back the byte behind its last token. It
    // only knows the one that it is in, which goes with it.
    openwbem_mof__switch_to_buffer(m_nowhere, m_handle);
    openwbem_mof__delete_buffer(m_buffer, m_handle);
    openwbem_mof_lex_destroy(m_handle);
}

int Scanner::next(OPENWBEM_MOF_STYPE& value) {
    return openwbem_mof_lex(&value, m_handle);
}

List<Declaration> parse(SourceText& source, NodeArena& arena) {
    Scanner scanner(source);
    ParseContext context(source, arena);
    if (openwbem_mof_parse(scanner.handle(), context) != 0) {
        throw CompileError{source.begin(), "the text cannot be parsed"};
    }
    return context.declarations();
}

size_t countTokens(SourceText& source) {
    Scanner scanner(source);
    OPENWBEM_MOF_STYPE value;
    size_t count = 0;
    while (scanner.next(value) != 0) {
        ++count;
    }
    return count;
}

namespace {

struct Token {
    const char* data;
    size_t size;
    std::string_view view() const { return {data, size}; }
};

Token currentToken(void* scanner) {
    return {openwbem_mof_get_text(scanner), static_cast<size_t>(openwbem_mof_get_leng(scanner))};
}

/// The same, empty and at the very end where the text is at its end.
Token foundToken(void* scanner, const SourceText& source) {
    const Token found = currentToken(scanner);
    const bool atEnd = found.data >= source.end() || found.size == 0;
    return atEnd ? Token{source.end(), 0} : found;
}

String describe(const Token& token) {
    return token.size == 0 ? String("the end of the text") : inQuotes(token.view());
}

/// The token before the one at `at`. Tokens do not remember their predecessors, as only errors ask.
Token tokenBefore(SourceText& source, const char* at) {
    Scanner scanner(source);
    OPENWBEM_MOF_STYPE value;
    Token before{nullptr, 0};
    while (scanner.next(value) != 0) {
        const Token token = currentToken(scanner.handle());
        if (token.data >= at) {
            break;
        }
        before = token;
    }
    return before;
}

String listOf(const std::vector<const char*>& expected) {
    String text;
    for (size_t i = 0; i < expected.size(); ++i) {
        text += i == 0 ? "" : i + 1 == expected.size() ? " or " : ", ";
        text += expected[i];
    }
    return text;
}

}  // namespace

void failSyntax(void* scanner, SourceText& source, const std::vector<const char*>& expected) {
    const Token found = foundToken(scanner, source);
    const String foundText = describe(found);
    const Token before = tokenBefore(source, found.data);
    String message =
        expected.empty() ? String("unexpected ") + foundText : "expected " + listOf(expected);
    if (before.data != nullptr) {
        message += " after " + inQuotes(before.view());
    }
    if (!expected.empty()) {
        message += "; found " + foundText;
    }
    throw CompileError{found.data, message};
}

void failUnknownType(void* scanner, SourceText& source, UnknownType which) {
    const Token found = foundToken(scanner, source);
    if (which == UnknownType::FOUND) {
        throw CompileError{found.data, "unknown type " + inQuotes(found.view())};
    }
    const Token name = tokenBefore(source, found.data);
    throw CompileError{name.data,
                       "unknown type " + inQuotes(name.view()) +
                           "; as the class of a reference it would be followed by 'ref', "
                           "not by " +
                           describe(found)};
}

}  // namespace OpenWBEM::MOF
