// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/WriteRun.hpp"

#include <new>
#include <utility>

namespace OpenWBEM::CheckedFile {

namespace {

/// SQLite's largest page. The layer below need not be able to write more at once.
constexpr int MOST_BYTES = 64 << 10;

}  // namespace

WriteRun::~WriteRun() {
    delete[] m_bytes;
}

char* WriteRun::next(sqlite3_int64 offset, int size) noexcept {
    if (m_bytes == nullptr) {
        m_bytes = new (std::nothrow) char[MOST_BYTES];
    }
    if (m_size == 0) {
        m_begin = offset;
    }
    if (m_bytes == nullptr || offset != m_begin + m_size || size > MOST_BYTES - m_size) {
        return nullptr;
    }
    return m_bytes + std::exchange(m_size, m_size + size);
}

int WriteRun::write(sqlite3_file* file) noexcept {
    const int size = std::exchange(m_size, 0);
    return size == 0 ? SQLITE_OK : file->pMethods->xWrite(file, m_bytes, size, m_begin);
}

}  // namespace OpenWBEM::CheckedFile
