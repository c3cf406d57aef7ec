// SPDX-License-Identifier: Apache-2.0
//
// Owners, modes and access lists of single files, given through descriptors: between the check of a
// file and its change nobody can put another in its place.
#pragma once

#include <optional>
#include <vector>

#include "blocxx/File.hpp"
#include "blocxx/Process.hpp"

namespace KovSetup {

using blocxx::String;
using blocxx::StringArray;

/// An open file or directory whose owner and mode can be changed.
class OwnedFile {
public:
    /// Opens the directory, which must not be a link. Throws blocxx::Exception.
    static OwnedFile directory(const String& path);
    /// Opens every regular file in this directory, in the order of their names. Throws
    /// blocxx::Exception for one that has a second name, perhaps elsewhere.
    std::vector<OwnedFile> files() const;

    // Each appends a line to `done` when it changes something, and throws blocxx::Exception when it
    // cannot.
    void setOwner(const blocxx::Process::Identity& owner, const String& name, StringArray& done);
    void setMode(mode_t mode, StringArray& done);
    /// Takes the right to write from the group and from others.
    void protect(StringArray& done);
    /// Lets the account read a file that is not readable for everybody.
    void letRead(const blocxx::Process::Identity& account, const String& name, StringArray& done);
    /// The same for new files in a directory, whatever the umask of whoever makes them.
    void letReadNewFiles(const blocxx::Process::Identity& account, const String& name,
                         StringArray& done);

private:
    StringArray fileNames() const;
    /// None when it is gone or not a regular file.
    std::optional<OwnedFile> file(const String& name) const;
    OwnedFile(String path, blocxx::File file) : m_path(std::move(path)), m_file(std::move(file)) {}
    int fd() const { return m_file.getFileDescriptor(); }

    String m_path;
    blocxx::File m_file;
};

}  // namespace KovSetup
