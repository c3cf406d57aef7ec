// SPDX-License-Identifier: Apache-2.0
//
// The actions of the grammar. One Reader serves a text and everything that it includes; each of
// these texts has its own Statements.
#pragma once

#include "openwbem/privilege/PrivilegeConfig.hpp"
#include "openwbem/text/SourceText.hpp"

namespace OpenWBEM::PrivilegeConfig {

class Reader {
public:
    Reader(IncludeHandler& handler, Privileges& out) : m_handler(handler), m_out(out) {}

    /// Parses a text. Messages begin with `where`, which is "" for the outermost text. Throws
    /// ParseException and what the handler throws.
    void read(const String& text, const String& where);

    /// The statement `include { name }` at `at`. Throws as read() does, and CompileError.
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

/// The value of an item: a bare item itself, or the unescaped contents of a quoted one. Throws
/// CompileError.
String valueOf(const Text& item);

}  // namespace OpenWBEM::PrivilegeConfig
