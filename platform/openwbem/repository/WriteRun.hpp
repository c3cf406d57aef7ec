// SPDX-License-Identifier: Apache-2.0
//
// A buffer for adjacent pieces of a file, so that one system call writes many of them. It must be
// written before anything else is done with the file.
#pragma once

#include <sqlite3.h>

#include <cstddef>

namespace OpenWBEM::CheckedFile {

class WriteRun {
public:
    WriteRun() noexcept = default;
    ~WriteRun();
    WriteRun(const WriteRun&) = delete;
    WriteRun& operator=(const WriteRun&) = delete;

    /// Where the piece of that offset is to be put, behind those before it; null when it does not
    /// follow them, when they are enough, or when there is no memory: then write() and ask again.
    char* next(sqlite3_int64 offset, int size) noexcept;
    /// Writes what is held back, which is forgotten even when that fails. An SQLite result code.
    int write(sqlite3_file* file) noexcept;

private:
    char* m_bytes = nullptr;
    int m_size = 0;
    sqlite3_int64 m_begin = 0;
};

}  // namespace OpenWBEM::CheckedFile
