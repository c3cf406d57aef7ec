// SPDX-License-Identifier: Apache-2.0
//
// The log beside a served repository of the units of work that were committed and whose transaction
// was not: one write for each. It belongs to one state of the repository file, by whose name it
// begins, and a unit that was not written to its end is none. docs/repository-format.md describes
// the file. Whoever uses it holds the lock on the repository.
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "blocxx/String.hpp"

namespace OpenWBEM {

class ChangeLog {
public:
    /// Beside the repository file of that name in its open directory (RepositoryDirectory::file());
    /// `shown` is what it is called in messages.
    ChangeLog(const blocxx::String& repositoryFile, const blocxx::String& shown);
    ~ChangeLog();
    ChangeLog(const ChangeLog&) = delete;
    ChangeLog& operator=(const ChangeLog&) = delete;

    /// For messages.
    const blocxx::String& path() const noexcept { return m_path; }

    // Those that return a number return an SQLite result code.

    /// Opens the file; makes an empty one when there is none.
    int open();
    /// Hands over the units that were written for that state, in their order, and goes on behind
    /// them. Lets pass what `visit` throws.
    int read(uint64_t state, const std::function<void(std::string_view)>& visit);
    /// Forgets all units: those that come are for another state.
    void restart(uint64_t state) noexcept;
    uint64_t state() const noexcept { return m_state; }
    bool hasUnits() const noexcept { return m_end > HEADER_SIZE; }
    /// Behind the last unit.
    sqlite3_int64 end() const noexcept { return m_end; }
    void setEnd(sqlite3_int64 end) noexcept { m_end = end; }

    /// The unit that is being put together, to append to.
    blocxx::String& unit() noexcept { return m_unit; }
    void clearUnit() noexcept { m_unit.resize(UNIT_HEADER_SIZE); }
    bool isUnitEmpty() const noexcept { return m_unit.size() == UNIT_HEADER_SIZE; }
    /// Whether the unit should go to the file of the repository, together with those before it.
    bool isEnough() const noexcept;
    /// Writes the unit; when that fails it is not in the log.
    int append() noexcept;

    /// Closes and removes the file.
    int remove() noexcept;

private:
    static constexpr sqlite3_int64 HEADER_SIZE = 24;
    static constexpr size_t UNIT_HEADER_SIZE = 16;

    int writeHeader() noexcept;
    int readHeader(uint64_t state, bool& isOfState);
    int readUnit(sqlite3_int64 fileSize, blocxx::String& unit);
    void close() noexcept;

    blocxx::String m_name;
    blocxx::String m_path;
    sqlite3_vfs* m_layer;
    std::unique_ptr<std::max_align_t[]> m_memory;
    sqlite3_file* m_file = nullptr;  // in the memory
    uint64_t m_state = 0;
    uint64_t m_lastSum = 0;   // each unit's checksum goes on from the one before it
    sqlite3_int64 m_end = 0;  // 0: the header has to be written first
    blocxx::String m_unit;
};

}  // namespace OpenWBEM
