// SPDX-License-Identifier: Apache-2.0
//
// The file that holds the daemon's process id. The daemon holds a lock on it while it runs. Only
// the lock says whether a daemon runs; the process id may have been given to another process since.
#pragma once

#include "blocxx/File.hpp"

namespace OwCimomd {

using blocxx::String;

class PidFile {
public:
    /// Locks the file and writes this process's id. Throws blocxx::Exception when another daemon
    /// holds the lock or the file cannot be written.
    explicit PidFile(String path);
    /// Removes the file.
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
