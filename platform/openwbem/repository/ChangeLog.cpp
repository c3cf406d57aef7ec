// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/ChangeLog.hpp"

#include <endian.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "openwbem/repository/CheckedFile.hpp"

namespace OpenWBEM {

namespace {

/// What a repository that was not closed has to do again, and what a failed unit of work costs
/// those before it, stays small; writing the pages of a transaction stays seldom.
constexpr sqlite3_int64 MOST_BYTES = 1 << 20;

/// A larger unit goes to the file at once: the layer below takes no more in one write than SQLite's
/// largest page, and says that the disk is full.
constexpr size_t MOST_BYTES_OF_A_UNIT = 64 << 10;

constexpr std::string_view MAGIC = "KOVCHNG1";
constexpr uint64_t MULTIPLIER = 0x9E3779B97F4A7C15U;

uint64_t step(uint64_t sum, uint64_t word) noexcept {
    return std::rotl((sum ^ word) * MULTIPLIER, 29);
}

uint64_t wordAt(const char* bytes, size_t size) noexcept {
    uint64_t word = 0;
    std::memcpy(&word, bytes, size);
    return le64toh(word);
}

uint64_t checksum(uint64_t sum, std::string_view bytes) noexcept {
    sum = step(sum, bytes.size());
    size_t at = 0;
    for (; at + 8 <= bytes.size(); at += 8) {
        sum = step(sum, wordAt(bytes.data() + at, 8));
    }
    return step(sum, wordAt(bytes.data() + at, bytes.size() - at));
}

void putWord(char* target, uint64_t word) noexcept {
    word = htole64(word);
    std::memcpy(target, &word, sizeof word);
}

}  // namespace

ChangeLog::ChangeLog(const blocxx::String& repositoryFile, const blocxx::String& shown)
    : m_name(repositoryFile + "-changes"),
      m_path(shown + "-changes"),
      m_layer(sqlite3_vfs_find(CheckedFile::layerName())),
      m_memory(
          new std::max_align_t[static_cast<size_t>(m_layer->szOsFile) / sizeof(std::max_align_t) +
                               1]) {
    clearUnit();
}

ChangeLog::~ChangeLog() {
    close();
}

void ChangeLog::close() noexcept {
    if (m_file != nullptr && m_file->pMethods != nullptr) {
        m_file->pMethods->xClose(m_file);
    }
    m_file = nullptr;
}

// As a journal, the file gets the owner and the mode of the repository that its name begins with.
int ChangeLog::open() {
    m_file = reinterpret_cast<sqlite3_file*>(m_memory.get());
    std::memset(m_file, 0, static_cast<size_t>(m_layer->szOsFile));
    return m_layer->xOpen(m_layer, m_name.c_str(), m_file,
                          SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_MAIN_JOURNAL,
                          nullptr);
}

int ChangeLog::readHeader(uint64_t state, bool& isOfState) {
    char header[HEADER_SIZE];
    const int rc = m_file->pMethods->xRead(m_file, header, sizeof header, 0);
    isOfState = rc == SQLITE_OK && std::string_view(header, MAGIC.size()) == MAGIC &&
                wordAt(header + 8, 8) == state && wordAt(header + 16, 8) == step(0, state);
    return rc == SQLITE_IOERR_SHORT_READ ? SQLITE_OK : rc;
}

/// Empty when there is no further unit.
int ChangeLog::readUnit(sqlite3_int64 fileSize, blocxx::String& unit) {
    unit.clear();
    char header[UNIT_HEADER_SIZE];
    const auto headerSize = static_cast<sqlite3_int64>(sizeof header);
    if (m_end + headerSize > fileSize) {
        return SQLITE_OK;
    }
    int rc = m_file->pMethods->xRead(m_file, header, sizeof header, m_end);
    const uint64_t size = wordAt(header, 8);
    const sqlite3_int64 most = std::min(fileSize - m_end - headerSize, MOST_BYTES);
    if (rc != SQLITE_OK || size > static_cast<uint64_t>(most)) {
        return rc;
    }
    unit.resize(size);
    rc = m_file->pMethods->xRead(m_file, unit.data(), static_cast<int>(size), m_end + headerSize);
    const uint64_t sum = checksum(m_lastSum, unit);
    if (rc != SQLITE_OK || wordAt(header + 8, 8) != sum) {
        unit.clear();
        return rc;
    }
    m_lastSum = sum;
    m_end += headerSize + static_cast<sqlite3_int64>(size);
    return SQLITE_OK;
}

int ChangeLog::read(uint64_t state, const std::function<void(std::string_view)>& visit) {
    restart(state);
    sqlite3_int64 fileSize = 0;
    int rc = m_file->pMethods->xFileSize(m_file, &fileSize);
    bool isOfState = false;
    if (rc == SQLITE_OK) {
        rc = readHeader(state, isOfState);
    }
    if (rc != SQLITE_OK || !isOfState) {
        return rc;
    }
    m_end = HEADER_SIZE;
    blocxx::String unit;
    while ((rc = readUnit(fileSize, unit)) == SQLITE_OK && !unit.empty()) {
        visit(unit);
    }
    return rc;
}

// What the file holds is not of that state, so that nothing need be done about it at once.
void ChangeLog::restart(uint64_t state) noexcept {
    m_state = state;
    m_lastSum = state;
    m_end = 0;
}

int ChangeLog::writeHeader() noexcept {
    char header[HEADER_SIZE];
    std::memcpy(header, MAGIC.data(), MAGIC.size());
    putWord(header + 8, m_state);
    putWord(header + 16, step(0, m_state));
    const int rc = m_file->pMethods->xWrite(m_file, header, sizeof header, 0);
    m_end = rc == SQLITE_OK ? HEADER_SIZE : 0;
    return rc;
}

bool ChangeLog::isEnough() const noexcept {
    return m_unit.size() > MOST_BYTES_OF_A_UNIT ||
           m_end + static_cast<sqlite3_int64>(m_unit.size()) > MOST_BYTES;
}

int ChangeLog::append() noexcept {
    if (m_end == 0) {
        if (const int rc = writeHeader(); rc != SQLITE_OK) {
            return rc;
        }
    }
    const std::string_view content = std::string_view(m_unit).substr(UNIT_HEADER_SIZE);
    const uint64_t sum = checksum(m_lastSum, content);
    putWord(m_unit.data(), content.size());
    putWord(m_unit.data() + 8, sum);
    const int rc =
        m_file->pMethods->xWrite(m_file, m_unit.data(), static_cast<int>(m_unit.size()), m_end);
    if (rc == SQLITE_OK) {
        m_lastSum = sum;
        m_end += static_cast<sqlite3_int64>(m_unit.size());
    } else {
        // A part of it is no unit. Should all of it be there, it must not be found; that this may
        // fail, too, is accepted.
        m_file->pMethods->xTruncate(m_file, m_end);
    }
    return rc;
}

int ChangeLog::remove() noexcept {
    close();
    const int rc = m_layer->xDelete(m_layer, m_name.c_str(), 0);
    return rc == SQLITE_IOERR_DELETE_NOENT ? SQLITE_OK : rc;
}

}  // namespace OpenWBEM
