// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/Parser.hpp"

#include "MOFGrammar.hpp"
#include "openwbem/text/Scanner.hpp"

// The scanner's header uses YYSTYPE, which the grammar's prefix has renamed.
#define YYSTYPE OPENWBEM_MOF_STYPE
#include "MOFLexer.hpp"

namespace OpenWBEM::MOF {

namespace {

/// The functions of the generated scanner.
struct Flex {
    static constexpr auto init = openwbem_mof_lex_init_extra;
    static constexpr auto scan = openwbem_mof__scan_buffer;
    static constexpr auto switchTo = openwbem_mof__switch_to_buffer;
    static constexpr auto remove = openwbem_mof__delete_buffer;
    static constexpr auto destroy = openwbem_mof_lex_destroy;
};
using MofScanner = Scanner<Flex>;

/// The next token's number, 0 at the end. Throws CompileError.
int next(const MofScanner& scanner, OPENWBEM_MOF_STYPE& value) {
    return openwbem_mof_lex(&value, scanner.handle());
}

}  // namespace

List<Declaration> parse(SourceText& source, NodeArena& arena) {
    MofScanner scanner(source);
    ParseContext context(source, arena);
    if (openwbem_mof_parse(scanner.handle(), context) != 0) {
        throw CompileError{source.begin(), "the text cannot be parsed"};
    }
    return context.declarations();
}

size_t countTokens(SourceText& source) {
    MofScanner scanner(source);
    OPENWBEM_MOF_STYPE value;
    size_t count = 0;
    while (next(scanner, value) != 0) {
        ++count;
    }
    return count;
}

namespace {

Text currentToken(void* scanner) {
    return {openwbem_mof_get_text(scanner), static_cast<uint32_t>(openwbem_mof_get_leng(scanner))};
}

/// The current token, or an empty one at the end of the text.
Text foundToken(void* scanner, const SourceText& source) {
    const Text found = currentToken(scanner);
    const bool atEnd = found.data >= source.end() || found.size == 0;
    return atEnd ? Text{source.end(), 0} : found;
}

String describe(const Text& token) {
    return token.size == 0 ? String("the end of the text") : inQuotes(token.view());
}

/// The token before the one at `at`. Scans the text again, since only errors need it.
Text tokenBefore(SourceText& source, const char* at) {
    MofScanner scanner(source);
    OPENWBEM_MOF_STYPE value;
    Text before{nullptr, 0};
    while (next(scanner, value) != 0) {
        const Text token = currentToken(scanner.handle());
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
    const Text found = foundToken(scanner, source);
    const String foundText = describe(found);
    const Text before = tokenBefore(source, found.data);
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
    const Text found = foundToken(scanner, source);
    if (which == UnknownType::FOUND) {
        throw CompileError{found.data, "unknown type " + inQuotes(found.view())};
    }
    const Text name = tokenBefore(source, found.data);
    throw CompileError{name.data,
                       "unknown type " + inQuotes(name.view()) +
                           "; as the class of a reference it would be followed by 'ref', "
                           "not by " +
                           describe(found)};
}

}  // namespace OpenWBEM::MOF
