// SPDX-License-Identifier: Apache-2.0
//
// The file that holds the daemon's process id. It is locked for as long as the daemon lives, so the
// lock tells whether one runs; the number in it alone tells nothing, as it may be that of another
// process by now.
#pragma once

#include "blocxx/File.hpp"

namespace OwCimomd {

using blocxx::String;

class PidFile {
public:
    /// Locks the file and writes the id of this process. Throws DaemonException when another daemon
    /// has it or it cannot be written.
    explicit PidFile(String path);
    /// Removes it.
    ~PidFile();
    PidFile(const PidFile&) = delete;
    PidFile& operator=(const PidFile&) = delete;

private:
    bool isStillAtItsPath() const;
    void lock();

    String m_path;
    blocxx::File m_file;
};

}  // namespace OwCimomd
