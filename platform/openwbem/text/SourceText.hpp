// SPDX-License-Identifier: Apache-2.0
//
// A text that a scanner reads. Its bytes do not move, so that tokens can be views of it and
// messages can show a pointer into it as a line and a column.
#pragma once

#include <cstddef>
#include <cstdint>

#include "openwbem/model/CIMFwd.hpp"

namespace OpenWBEM {

/// The file that a text comes from, whatever its name; all zero for a text from elsewhere.
struct FileIdentity {
    uint64_t device = 0;
    uint64_t inode = 0;

    explicit operator bool() const noexcept { return device != 0 || inode != 0; }
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// A text and its name in messages.
struct Source {
    String name;
    String text;
    FileIdentity file{};
};

/// A piece of a text. A plain struct, since it is a member of the parsers' unions.
struct Text {
    const char* data;
    uint32_t size;

    std::string_view view() const noexcept { return {data, size}; }
    const char* end() const noexcept { return data + size; }
    bool empty() const noexcept { return size == 0; }
};

/// An error at a place in a text. Internal to the readers of texts, which turn it into their own
/// exceptions.
struct CompileError {
    const char* at;
    String what;
};

class SourceText {
public:
    /// In bytes, which a scanner counts in int.
    static constexpr size_t MAX_SIZE = size_t{1} << 30;

    /// Throws CompileError with a null place when the text is larger than MAX_SIZE.
    explicit SourceText(Source source);
    SourceText(const SourceText&) = delete;
    SourceText& operator=(const SourceText&) = delete;

    const String& name() const noexcept { return m_name; }
    /// Whether `source` has the same name or is the same file.
    bool isSameAs(const Source& source) const noexcept {
        return m_name == source.name || (m_file && m_file == source.file);
    }
    /// After the byte order mark, when there is one.
    const char* begin() const noexcept { return m_text.data() + m_mark; }
    const char* end() const noexcept { return m_text.data() + m_size; }
    /// The text and the two zero bytes behind it that a scanner needs. The scanner writes to them
    /// while it runs.
    char* scannerBuffer() noexcept { return m_text.data() + m_mark; }
    size_t scannerBufferSize() const noexcept { return m_text.size() - m_mark; }

    /// Whether `at` points into the text or to its end.
    bool contains(const char* at) const noexcept { return at >= begin() && at <= end(); }

    /// The text as it was given. This object must not be used afterwards.
    String take() &&;

    struct Place {
        size_t line;    ///< from 1
        size_t column;  ///< from 1, in characters
    };
    Place locate(const char* at) const noexcept;
    /// "NAME:LINE:COLUMN: error: WHAT", then the source line and a line with a caret under the
    /// column. A long line is shortened around it.
    String describe(const CompileError& error) const;

private:
    String m_name;
    String m_text;
    FileIdentity m_file;
    size_t m_size;
    size_t m_mark = 0;
};

/// A token for messages: in quotes, shortened when long, without control characters.
String inQuotes(std::string_view token);

}  // namespace OpenWBEM
