// SPDX-License-Identifier: Apache-2.0
//
// Hard links to the files of a directory, kept in a second directory while another program removes
// the first. When the removal fails halfway, putBack() restores the removed files.
//
// Subdirectories are not kept; the repository directory has none.
#pragma once

#include <sys/stat.h>

#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

using blocxx::String;

class HardLinkBackup {
public:
    /// Links the files of `directory` into the new directory `keeper`, which has the same parent
    /// and the same owner. Replaces a keeper that a killed run left behind. Throws
    /// FileSystemException after removing what it made.
    HardLinkBackup(const String& directory, const String& keeper);
    /// Removes the keeper, unless putBack() failed.
    ~HardLinkBackup();
    HardLinkBackup(const HardLinkBackup&) = delete;
    HardLinkBackup& operator=(const HardLinkBackup&) = delete;

    /// Restores the missing files of `directory`, and the directory itself. `directory` is its
    /// current path, beside the keeper. An undo step: a failure is logged with what to do by hand.
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
    struct stat m_status {};  ///< that of the directory: its owner and mode
};

}  // namespace KOVNS2
