// SPDX-License-Identifier: Apache-2.0
//
// A temporary file beside the place where its content will end up, so that it can be moved there
// by a rename. It is removed with its guard unless it was released.
#pragma once

#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace KOVNS2 {

class TempFile {
public:
    /// What release() hands over: the file, open for reading and writing, and where it is.
    struct Released {
        blocxx::File file;
        blocxx::String path;
    };

    /// Creates ".fennik-tmp-" and eight random characters in `directory`, exclusively and with mode
    /// 0666 less the umask (so that a default ACL of the directory decides who may read it). Throws
    /// FileSystemException, naming the directory, with errno as its code.
    explicit TempFile(const blocxx::String& directory);
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    /// Gives the file away: from now on the caller has to delete it.
    [[nodiscard]] Released release();

private:
    Released m_held;
};

}  // namespace KOVNS2
