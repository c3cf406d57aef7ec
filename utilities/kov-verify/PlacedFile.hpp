// SPDX-License-Identifier: Apache-2.0
//
// Something that stands, or should stand, at a path of the installation.
#pragma once

#include <optional>

#include "blocxx/String.hpp"

namespace KovVerify {

using blocxx::String;
using blocxx::StringArray;

class PlacedFile {
public:
    enum class Kind { NOTHING, FILE, DIRECTORY, LINK, OTHER };

    /// Looks at the path without opening it. Throws blocxx::Exception when that fails.
    explicit PlacedFile(String path);

    Kind kind() const noexcept { return m_kind; }
    bool isFile() const noexcept { return m_kind == Kind::FILE; }
    bool isMissing() const noexcept { return m_kind == Kind::NOTHING; }
    size_t size() const noexcept { return m_size; }
    /// "PATH is missing" or what stands there instead of a file.
    String problem() const;
    /// The content of a file. Throws FileSystemException for anything else and for a file of more
    /// than `limit` bytes.
    String content(size_t limit) const;

    /// Whether it is a file with exactly this content. Throws FileSystemException.
    bool holds(const String& text) const;

    /// The command that takes away what is there.
    String removal() const;
    /// The command that puts a file with these lines there, instead of what is there. The last line
    /// needs no line feed.
    String replacement(const String& lines) const;

private:
    String m_path;
    Kind m_kind = Kind::NOTHING;
    size_t m_size = 0;
};

/// The names in a directory, sorted; none when it is missing or no directory. Throws
/// blocxx::Exception.
StringArray namesIn(const String& directory);

}  // namespace KovVerify
