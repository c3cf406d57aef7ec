// SPDX-License-Identifier: Apache-2.0
//
// A text that is being compiled: its bytes stay where they are until the compilation ends, so that
// tokens can be views of it, and any pointer into it can be turned into a line and a column when an
// error has to be told.
#pragma once

#include <cstddef>
#include <deque>

#include "openwbem/mof/MOFCompiler.hpp"

namespace OpenWBEM::MOF {

/// What is wrong, and where in one of the texts. Internal to the compiler: what leaves it is a
/// MOFCompilerException.
struct CompileError {
    const char* at;
    String what;
};

class SourceText {
public:
    /// Takes the source over. Throws MOFCompilerException when it is larger than a scanner can
    /// take.
    explicit SourceText(Source source);
    SourceText(const SourceText&) = delete;
    SourceText& operator=(const SourceText&) = delete;

    const String& name() const noexcept { return m_name; }
    /// Whether `source` is the same text under this name or, as a file, another one.
    bool isSameAs(const Source& source) const noexcept {
        return m_name == source.name || (m_file && m_file == source.file);
    }
    /// Behind the byte order mark, when there is one.
    const char* begin() const noexcept { return m_text.data() + m_mark; }
    const char* end() const noexcept { return m_text.data() + m_size; }
    /// The text and the two zero bytes behind it that a scanner needs; it writes to them while it
    /// runs.
    char* scannerBuffer() noexcept { return m_text.data() + m_mark; }
    size_t scannerBufferSize() const noexcept { return m_text.size() - m_mark; }

    /// Whether `at` points into the text or to its end.
    bool contains(const char* at) const noexcept { return at >= begin() && at <= end(); }

    /// The text as it was taken over; nothing may use this one any more.
    String take() &&;

    struct Place {
        size_t line;    ///< from 1
        size_t column;  ///< from 1, in characters
    };
    Place locate(const char* at) const noexcept;
    /// The exception for an error in this text.
    MOFCompilerException describe(const CompileError& error, int errorCode) const;

private:
    String m_name;
    String m_text;
    FileIdentity m_file;
    size_t m_size;
    size_t m_mark = 0;
};

/// All texts of a compilation.
class SourceTexts {
public:
    /// Throws as SourceText does.
    SourceText& add(Source source) { return m_texts.emplace_back(std::move(source)); }
    size_t size() const noexcept { return m_texts.size(); }
    /// The first, or null.
    SourceText* first() noexcept { return m_texts.empty() ? nullptr : &m_texts.front(); }
    /// The exception for an error in one of them; one that stands in none is told at the beginning.
    MOFCompilerException describe(const CompileError& error,
                                  int errorCode = blocxx::Exception::UNKNOWN_ERROR_CODE) const;

private:
    std::deque<SourceText> m_texts;
};

/// A token for messages: in quotes, shortened when long, without anything that a terminal would
/// obey.
String inQuotes(std::string_view token);

}  // namespace OpenWBEM::MOF
