// SPDX-License-Identifier: Apache-2.0
//
// Second names (hard links) for the files of a directory, in a directory of their own. Whoever has
// the directory removed by another program keeps them until that has succeeded: when it has removed
// some files and then failed, they come back as they were, to the last byte.
//
// The repository directory has no subdirectories; what is in any is not kept.
#pragma once

#include <sys/types.h>

#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

using blocxx::String;

class KeptFiles {
public:
    /// Keeps the files of `directory` in the new directory `keeper` of the same owner, which stands
    /// beside it. A keeper that a killed run has left is replaced. Throws FileSystemException; then
    /// nothing is left behind.
    KeptFiles(const String& directory, const String& keeper);
    /// Drops the second names, unless putting them back failed.
    ~KeptFiles();
    KeptFiles(const KeptFiles&) = delete;
    KeptFiles& operator=(const KeptFiles&) = delete;

    /// Gives `directory`, by its name of now, beside the keeper, back what is missing in it, the
    /// directory itself included. An undo step:
    /// what cannot be put back is logged with what has to be done by hand.
    void putBack(const String& directory);

private:
    void open();
    bool makeKeeper();
    void openKeeper();
    void linkFiles(const blocxx::File& from);
    void putBackFiles(const String& directory);
    void drop() noexcept;

    String m_path;
    String m_name;
    blocxx::File m_parent;
    blocxx::File m_keeper;
    uid_t m_uid = 0;
    gid_t m_gid = 0;
    mode_t m_mode = 0;
};

}  // namespace KOVNS2
