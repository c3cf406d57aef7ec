// SPDX-License-Identifier: Apache-2.0
#include "openwbem/privilege/Reader.hpp"

#include <array>
#include <istream>
#include <utility>

#include "PrivilegeGrammar.hpp"
#include "openwbem/text/Literals.hpp"
#include "openwbem/text/Scanner.hpp"

// The scanner's header uses YYSTYPE, which the grammar's prefix has renamed.
#define YYSTYPE OPENWBEM_PRIVGRAMMAR_STYPE
#include "PrivilegeLexer.hpp"

namespace OpenWBEM::PrivilegeConfig {

namespace {

String tooLarge() {
    return "the text and what it includes are larger than " + std::to_string(MAX_TEXT_SIZE) +
           " bytes";
}

/// The functions of the generated scanner.
struct Flex {
    static constexpr auto init = openwbem_privgrammar_lex_init_extra;
    static constexpr auto scan = openwbem_privgrammar__scan_buffer;
    static constexpr auto switchTo = openwbem_privgrammar__switch_to_buffer;
    static constexpr auto remove = openwbem_privgrammar__delete_buffer;
    static constexpr auto destroy = openwbem_privgrammar_lex_destroy;
};

void parse(Reader& reader, SourceText& source) {
    const Scanner<Flex> scanner(source);
    Statements statements(reader, source);
    if (openwbem_privgrammar_parse(scanner.handle(), statements) != 0) {
        throw CompileError{source.begin(), "the text cannot be parsed"};
    }
}

}  // namespace

void Reader::read(const String& text, const String& where) {
    m_size += text.size();
    if (m_size > MAX_TEXT_SIZE) {
        throw ParseException(__FILE__, __LINE__, where + tooLarge(), 1, 1);
    }
    SourceText source({"", text});
    try {
        parse(*this, source);
    } catch (const CompileError& error) {
        const SourceText::Place place = source.locate(error.at);
        throw ParseException(__FILE__, __LINE__, where + error.what, place.line, place.column);
    }
}

void Reader::include(const char* at, const String& name) {
    if (m_depth == MAX_INCLUDE_DEPTH) {
        throw CompileError{at, "includes nest deeper than " + std::to_string(MAX_INCLUDE_DEPTH) +
                                   "; does " + inQuotes(name) + " include itself?"};
    }
    const std::unique_ptr<std::istream> in = m_handler.getInclude(name);
    if (!in) {
        throw CompileError{at, "there is no text to include by the name " + inQuotes(name)};
    }
    ++m_depth;
    read(contentsOf(at, name, *in), "in the included text " + inQuotes(name) + ": ");
    --m_depth;
    m_handler.endInclude();
}

String Reader::contentsOf(const char* at, const String& name, std::istream& in) const {
    String text;
    std::array<char, 16384> block{};
    // Stops reading when the text is too long to be parsed: the stream may be endless.
    while (in.good() && m_size + text.size() <= MAX_TEXT_SIZE) {
        in.read(block.data(), block.size());
        text.append(block.data(), static_cast<size_t>(in.gcount()));
    }
    if (in.bad() || (in.fail() && !in.eof())) {
        throw CompileError{at, "the included text " + inQuotes(name) + " cannot be read"};
    }
    return text;
}

void Reader::setUser(const char* at, String name) {
    if (std::exchange(m_hasUser, true)) {
        throw CompileError{at, "unpriv_user is given a second time"};
    }
    m_out.unpriv_user = std::move(name);
}

void Statements::beginPaths(const Text& keyword) {
    m_paths = &m_reader.out().paths[String(keyword.data, keyword.size)];
}

void Statements::addPath(const Text& item) {
    m_paths->push_back(valueOf(item));
}

void Statements::beginCommands(bool monitored) noexcept {
    Privileges& out = m_reader.out();
    m_commands = monitored ? &out.monitored_exec_check_args : &out.user_exec_check_args;
}

void Statements::beginCommand(const Text& path) {
    m_commands->push_back({valueOf(path), {}, {}});
}

void Statements::addArgument(const Text& item) {
    m_commands->back().args.push_back(valueOf(item));
}

void Statements::endCommand(const Text& name) {
    m_commands->back().name = valueOf(name);
}

String valueOf(const Text& item) {
    return *item.data == '"' ? readString(item) : String(item.data, item.size);
}

}  // namespace OpenWBEM::PrivilegeConfig
