// SPDX-License-Identifier: Apache-2.0
//
// A temporary file in the directory where its content will end up, so that a rename can move it
// into place. Removed on destruction unless released.
#pragma once

#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

class TempFile {
public:
    /// The file, open for reading and writing, and its path.
    struct Released {
        blocxx::File file;
        blocxx::String path;
    };

    /// Creates ".fennik-tmp-" and eight random characters in `directory`, exclusively and with mode
    /// 0666 less the umask, so that a default ACL of the directory decides who may read it. Throws
    /// FileSystemException that names the directory, with errno as its code.
    explicit TempFile(const blocxx::String& directory);
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    /// Hands the file over; the caller then has to delete it.
    [[nodiscard]] Released release();

private:
    Released m_held;
};

}  // namespace KOVNS2
