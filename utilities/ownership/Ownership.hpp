// SPDX-License-Identifier: Apache-2.0
//
// Owners, modes and access lists of single files, looked at and given through descriptors: between
// the check of a file and its change nobody can put another in its place.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <vector>

#include "blocxx/File.hpp"
#include "blocxx/Process.hpp"

namespace OwUtilities {

using blocxx::String;
using blocxx::StringArray;

/// A file or directory that is not as it should be.
struct OwnershipDeviation {
    enum class Kind {
        WRONG,         ///< the owner, the mode, or an access list
        MISSING,       ///< a directory that is not there
        NO_DIRECTORY,  ///< something else in the place of a directory
        SECOND_NAME,
        TOO_MANY_FILES  ///< in a directory
    };

    String path;
    String text;  ///< says what is wrong, and names the path
    Kind kind = Kind::WRONG;
};

/// What is done about deviations: either each is put right, or all are only collected.
class Adjustment {
public:
    enum class Purpose { PUT_RIGHT, LOOK };

    explicit Adjustment(Purpose purpose) : m_purpose(purpose) {}

    bool onlyLooks() const noexcept { return m_purpose == Purpose::LOOK; }
    /// The same deviation is kept once.
    void add(OwnershipDeviation deviation);
    void addChange(String line) { m_changes.push_back(std::move(line)); }

    /// What was found; only when looking.
    std::vector<OwnershipDeviation>& deviations() noexcept { return m_deviations; }
    /// A line for each change.
    StringArray& changes() noexcept { return m_changes; }

private:
    Purpose m_purpose;
    std::vector<OwnershipDeviation> m_deviations;
    std::set<String> m_found;  ///< their texts
    StringArray m_changes;
};

/// An open file or directory whose owner and mode can be changed.
class OwnedFile {
public:
    /// A file that is open already.
    OwnedFile(String path, blocxx::File file) : m_path(std::move(path)), m_file(std::move(file)) {}
    /// Opens the directory, which must not be a link. Throws blocxx::Exception; when only looking,
    /// a directory that is not there is a deviation, and there is none to return.
    static std::optional<OwnedFile> directory(const String& path, Adjustment& adjustment);
    /// Opens every regular file in this directory, one after the other in the order of their names,
    /// for `action`. One that has a second name, perhaps elsewhere, is refused by
    /// blocxx::Exception, or is a deviation. So is a directory with more than `most` files; none of
    /// them is opened then.
    void eachFile(const std::function<void(OwnedFile&)>& action, Adjustment& adjustment,
                  size_t most = SIZE_MAX) const;

    // Each adds to `adjustment` what it changes or finds, and throws blocxx::Exception when it
    // cannot.
    void setOwner(const blocxx::Process::Identity& owner, const String& name,
                  Adjustment& adjustment);
    void setMode(mode_t mode, Adjustment& adjustment);
    /// Takes the right to write from the group and from others.
    void protect(Adjustment& adjustment);
    /// Lets the account read a file that is not readable for everybody.
    void letRead(const blocxx::Process::Identity& account, const String& name,
                 Adjustment& adjustment);
    /// Lets the account read a file that nobody else but its owner may read.
    void letReadAlone(const blocxx::Process::Identity& account, const String& name,
                      Adjustment& adjustment);
    /// Lets the account read new files in a directory, whatever the umask of whoever makes them.
    void letReadNewFiles(const blocxx::Process::Identity& account, const String& name,
                         Adjustment& adjustment);

    const String& path() const noexcept { return m_path; }

private:
    /// Sorted. Stops when there are more than `most`.
    StringArray fileNames(size_t most) const;
    /// None when it is gone or not a regular file.
    std::optional<OwnedFile> file(const String& name, Adjustment& adjustment) const;
    /// Whether the access list lets the account read, and nobody else but the owner.
    bool hasReader(const blocxx::Process::Identity& account) const;
    void setReader(const blocxx::Process::Identity& account);
    int fd() const { return m_file.getFileDescriptor(); }

    String m_path;
    blocxx::File m_file;
};

}  // namespace OwUtilities
