// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/PageRun.hpp"

#include <new>
#include <utility>

#include "openwbem/repository/RepositoryFormat.hpp"

namespace OpenWBEM::CheckedFile {

namespace {

using RepositoryFormat::PAGE_SIZE;
/// SQLite's own file layer keeps the low 17 bits of a length: 128 KiB would be written as nothing,
/// and taken for a full disk. More at a time is hardly quicker.
constexpr int MOST_PAGES = 31;

}  // namespace

PageRun::~PageRun() {
    delete[] m_pages;
}

char* PageRun::next(sqlite3_int64 offset) noexcept {
    if (m_pages == nullptr) {
        m_pages = new (std::nothrow) char[size_t{MOST_PAGES} * PAGE_SIZE];
    }
    if (m_count == 0) {
        m_begin = offset;
    }
    const int place = m_count;
    const bool follows = offset == m_begin + sqlite3_int64{place} * PAGE_SIZE;
    if (m_pages == nullptr || !follows || place == MOST_PAGES) {
        return nullptr;
    }
    ++m_count;
    return m_pages + static_cast<ptrdiff_t>(place) * PAGE_SIZE;
}

int PageRun::write(sqlite3_file* file) noexcept {
    const int count = std::exchange(m_count, 0);
    return count == 0 ? SQLITE_OK
                      : file->pMethods->xWrite(file, m_pages, count * PAGE_SIZE, m_begin);
}

}  // namespace OpenWBEM::CheckedFile
