// SPDX-License-Identifier: Apache-2.0
//
// The file of the users who may speak to the daemon over HTTP: a line "user:hash" for each, blank
// lines, and comments that begin with "#". owpasswd writes it, the daemon reads it. Messages name
// lines and never show them: somebody may have written a password into one.
#pragma once

#include <map>

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace Credentials {

using blocxx::Array;
using blocxx::String;
using blocxx::StringArray;

/// Not such a file, or one that somebody else could have written.
BLOCXX_DECLARE_EXCEPTION(PasswordFile)

class PasswordFile {
public:
    static constexpr size_t MAX_SIZE = size_t(1) << 20U;
    static constexpr size_t MAX_LINES = 10000;
    static constexpr size_t MAX_USER_SIZE = 256;

    /// Throws PasswordFileException, which names the line, for a line of another form, a user who
    /// has two lines, a hash that owpasswd does not make, and a text above a limit.
    static PasswordFile parse(std::string_view text);
    /// Reads the file at `path`. It must be a regular file and no link, belong to root or to this
    /// process's user, and be writable for nobody else. Throws PasswordFileException that names the
    /// path, with ENOENT as its code when there is no file.
    static PasswordFile read(const String& path);

    /// Throws PasswordFileException for a name that such a file cannot hold.
    static void requireUserName(const String& user);

    /// Null when the file does not have the user.
    const String* hashOf(const String& user) const;
    StringArray users() const;
    /// Adds the user, or changes his hash. Throws PasswordFileException for a name that the file
    /// cannot hold, for what is no hash, and when the file would be above a limit.
    void set(const String& user, const String& hash);
    /// Returns whether the file had the user.
    bool remove(const String& user);
    /// What parse() reads. Lines keep their order and comments stay.
    String text() const;

private:
    struct Line {
        String user;  ///< empty for a comment and for a blank line
        String text;
    };
    void add(std::string_view line);

    Array<Line> m_lines;
    std::map<String, String> m_hashes;
};

}  // namespace Credentials
