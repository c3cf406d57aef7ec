// SPDX-License-Identifier: Apache-2.0
//
// What the actions of the grammar and the scanner do. One Reader serves a text and everything that
// it includes; each of these texts has a Statements of its own.
#pragma once

#include "openwbem/privilege/PrivilegeConfig.hpp"
#include "openwbem/text/SourceText.hpp"

namespace OpenWBEM::PrivilegeConfig {

class Reader {
public:
    Reader(IncludeHandler& handler, Privileges& out) : m_handler(handler), m_out(out) {}

    /// Parses a text of which `where` says in messages what it is ("" for the outermost). Throws
    /// ParseException and what the handler throws.
    void read(const String& text, const String& where);

    /// The statement `include { name }` at `at`. Throws CompileError besides.
    void include(const char* at, const String& name);
    /// The statement `unpriv_user { name }` at `at`. Throws CompileError.
    void setUser(const char* at, String name);

    Privileges& out() noexcept { return m_out; }

private:
    String contentsOf(const char* at, const String& name, std::istream& in) const;

    IncludeHandler& m_handler;
    Privileges& m_out;
    size_t m_size = 0;     ///< of all texts so far
    unsigned m_depth = 0;  ///< of the includes that are open
    bool m_hasUser = false;
};

/// The statements of one text, as the grammar meets them.
class Statements {
public:
    Statements(Reader& reader, const SourceText& source) : m_reader(reader), m_source(source) {}

    const SourceText& source() const noexcept { return m_source; }
    Reader& reader() noexcept { return m_reader; }

    void beginPaths(const Text& keyword);
    void addPath(const Text& item);
    void beginCommands(bool monitored) noexcept;
    void beginCommand(const Text& path);
    void addArgument(const Text& item);
    void endCommand(const Text& name);

private:
    Reader& m_reader;
    const SourceText& m_source;
    StringArray* m_paths = nullptr;
    Array<CheckedCommand>* m_commands = nullptr;
};

/// What an item stands for: a bare one for itself, one in quotes for its unescaped contents. Throws
/// CompileError.
String valueOf(const Text& item);

}  // namespace OpenWBEM::PrivilegeConfig
