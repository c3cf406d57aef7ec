// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/CheckedFile.hpp"

#include <endian.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>

#include "openwbem/repository/RepositoryDirectory.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "openwbem/repository/WriteRun.hpp"

namespace OpenWBEM::CheckedFile {

namespace {

using RepositoryFormat::CHECKSUM_SIZE;
using RepositoryFormat::HEADER_SIZE;
using RepositoryFormat::PAGE_SIZE;
constexpr int DATA_SIZE = PAGE_SIZE - CHECKSUM_SIZE;
constexpr uint64_t MULTIPLIER = 0x9E3779B97F4A7C15U;

uint64_t step(uint64_t sum, uint64_t word) noexcept {
    return std::rotl((sum ^ word) * MULTIPLIER, 29);
}

/// Each step is a bijection, so that a change in one word is always detected; the rotation spreads
/// it over all bits in the next steps. The offset of the page is part of the sum. Several sums take
/// the words in turn: with a single one, the processor would wait for each multiplication.
uint64_t checksum(const void* page, sqlite3_int64 offset) noexcept {
    constexpr int LANES = 4;
    std::array<uint64_t, LANES> lanes;
    lanes.fill((static_cast<uint64_t>(offset) + 1) * MULTIPLIER);
    const auto wordAt = [page](int index) {
        uint64_t word = 0;
        std::memcpy(&word, static_cast<const char*>(page) + index * 8, sizeof word);
        return le64toh(word);
    };
    constexpr int WORDS = DATA_SIZE / 8;
    int index = 0;
    for (; index + LANES <= WORDS; index += LANES) {
        for (int lane = 0; lane < LANES; ++lane) {
            lanes[lane] = step(lanes[lane], wordAt(index + lane));
        }
    }
    for (int lane = 0; index < WORDS; ++index, ++lane) {
        lanes[lane] = step(lanes[lane], wordAt(index));
    }
    return std::accumulate(lanes.begin(), lanes.end(), uint64_t{0}, step);
}

bool isAllZero(const void* page) noexcept {
    const char* bytes = static_cast<const char*>(page);
    return std::all_of(bytes, bytes + PAGE_SIZE, [](char byte) { return byte == 0; });
}

struct File {
    sqlite3_file base;
    WriteRun unwritten;
};

// The file of the layer below follows ours in the memory that SQLite provides.
sqlite3_file* real(sqlite3_file* file) noexcept {
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<File*>(file) + 1);
}

/// Writes the pages that xWrite() holds back.
int writeHeldBack(sqlite3_file* file) noexcept {
    return reinterpret_cast<File*>(file)->unwritten.write(real(file));
}

bool isPage(int amount, sqlite3_int64 offset) noexcept {
    return amount == PAGE_SIZE && offset % PAGE_SIZE == 0;
}

int readPage(sqlite3_file* file, void* buffer, sqlite3_int64 offset) noexcept {
    const int rc = real(file)->pMethods->xRead(real(file), buffer, PAGE_SIZE, offset);
    if (rc == SQLITE_IOERR_SHORT_READ) {
        // SQLite would read a truncated page as one that ends in zeros. Only a file that is being
        // created is empty.
        return offset == 0 && isAllZero(buffer) ? rc : SQLITE_IOERR_DATA;
    }
    if (rc != SQLITE_OK) {
        return rc;
    }
    uint64_t stored = 0;
    std::memcpy(&stored, static_cast<const char*>(buffer) + DATA_SIZE, sizeof stored);
    return le64toh(stored) == checksum(buffer, offset) ? SQLITE_OK : SQLITE_IOERR_DATA;
}

int xRead(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
    if (const int rc = writeHeldBack(file); rc != SQLITE_OK) {
        return rc;
    }
    if (isPage(amount, offset)) {
        return readPage(file, buffer, offset);
    }
    // SQLite reads the header before it knows the page size, and without a lock. The first read of
    // the whole page verifies what it found there.
    if (offset == 0 && amount == static_cast<int>(HEADER_SIZE)) {
        return real(file)->pMethods->xRead(real(file), buffer, amount, offset);
    }
    const sqlite3_int64 inPage = offset % PAGE_SIZE;
    if (inPage + amount > PAGE_SIZE) {
        return SQLITE_IOERR_DATA;
    }
    std::array<char, PAGE_SIZE> page;
    const int rc = readPage(file, page.data(), offset - inPage);
    std::memcpy(buffer, page.data() + inPage, static_cast<size_t>(amount));
    return rc;
}

void copyWithChecksum(char* target, const void* page, sqlite3_int64 offset) noexcept {
    std::memcpy(target, page, PAGE_SIZE);
    const uint64_t sum = htole64(checksum(page, offset));
    std::memcpy(target + DATA_SIZE, &sum, sizeof sum);
}

/// Where to put a page that is held back; null when it must be written at once, or when `rc` says
/// that the pages before it cannot be written.
char* bufferFor(sqlite3_file* file, sqlite3_int64 offset, int size, int& rc) noexcept {
    WriteRun& unwritten = reinterpret_cast<File*>(file)->unwritten;
    char* place = unwritten.next(offset, size);
    if (place == nullptr) {
        rc = writeHeldBack(file);
        place = rc == SQLITE_OK ? unwritten.next(offset, size) : nullptr;
    }
    return place;
}

// Holds pages back until xSync() at the latest. SQLite does not rely on them before.
int xWrite(sqlite3_file* file, const void* buffer, int amount, sqlite3_int64 offset) {
    if (!isPage(amount, offset)) {
        return SQLITE_IOERR_WRITE;
    }
    int rc = SQLITE_OK;
    if (char* const place = bufferFor(file, offset, PAGE_SIZE, rc)) {
        copyWithChecksum(place, buffer, offset);
        return SQLITE_OK;
    }
    if (rc != SQLITE_OK) {
        return rc;
    }
    std::array<char, PAGE_SIZE> page;
    copyWithChecksum(page.data(), buffer, offset);
    return real(file)->pMethods->xWrite(real(file), page.data(), PAGE_SIZE, offset);
}

int xClose(sqlite3_file* file) {
    const int written = writeHeldBack(file);
    const int rc = real(file)->pMethods->xClose(real(file));
    std::destroy_at(&reinterpret_cast<File*>(file)->unwritten);
    return written != SQLITE_OK ? written : rc;
}
int xTruncate(sqlite3_file* file, sqlite3_int64 size) {
    const int rc = writeHeldBack(file);
    return rc != SQLITE_OK ? rc : real(file)->pMethods->xTruncate(real(file), size);
}
int xSync(sqlite3_file* file, int flags) {
    const int rc = writeHeldBack(file);
    return rc != SQLITE_OK ? rc : real(file)->pMethods->xSync(real(file), flags);
}
int xFileSize(sqlite3_file* file, sqlite3_int64* size) {
    const int rc = writeHeldBack(file);
    return rc != SQLITE_OK ? rc : real(file)->pMethods->xFileSize(real(file), size);
}
int xLock(sqlite3_file* file, int level) {
    return real(file)->pMethods->xLock(real(file), level);
}
int xUnlock(sqlite3_file* file, int level) {
    const int written = writeHeldBack(file);
    const int rc = real(file)->pMethods->xUnlock(real(file), level);
    return written != SQLITE_OK ? written : rc;
}
int xCheckReservedLock(sqlite3_file* file, int* result) {
    return real(file)->pMethods->xCheckReservedLock(real(file), result);
}
int xFileControl(sqlite3_file* file, int operation, void* argument) {
    return real(file)->pMethods->xFileControl(real(file), operation, argument);
}
int xSectorSize(sqlite3_file* file) {
    return real(file)->pMethods->xSectorSize(real(file));
}
int xDeviceCharacteristics(sqlite3_file* file) {
    return real(file)->pMethods->xDeviceCharacteristics(real(file));
}

// Version 1: no shared memory and no memory mapping, which would read past the checksums.
const sqlite3_io_methods METHODS = {1,
                                    xClose,
                                    xRead,
                                    xWrite,
                                    xTruncate,
                                    xSync,
                                    xFileSize,
                                    xLock,
                                    xUnlock,
                                    xCheckReservedLock,
                                    xFileControl,
                                    xSectorSize,
                                    xDeviceCharacteristics,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr};

/// The layer below: SQLite's default.
sqlite3_vfs& below() {
    static sqlite3_vfs* const found = sqlite3_vfs_find(nullptr);
    return *found;
}

/// The kinds of file that may be opened. A journal may name another file, which SQLite would open
/// and finally remove. Temporary files have no names and are not needed.
constexpr int KINDS = SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_WAL;

int xOpen(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    if ((flags & KINDS) == 0 || !RepositoryDirectory::isOwn(name)) {
        file->pMethods = nullptr;
        return FOREIGN_NAME;
    }
    if ((flags & SQLITE_OPEN_MAIN_DB) == 0) {
        return below().xOpen(&below(), name, file, flags, outFlags);
    }
    auto* ours = reinterpret_cast<File*>(file);
    ours->base.pMethods = nullptr;
    const int rc = below().xOpen(&below(), name, real(file), flags, outFlags);
    // SQLite closes the file whenever the methods are set, even when opening failed.
    if (real(file)->pMethods != nullptr) {
        std::construct_at(&ours->unwritten);
        ours->base.pMethods = &METHODS;
    }
    return rc;
}

/// Removing the journal is the commit point. After it the unit of work can no longer be rolled
/// back, so a failure to sync the directory is deliberately ignored. At worst a power cut brings
/// back the journal and with it the whole old state.
int xDelete(sqlite3_vfs*, const char* name, int syncDirectory) {
    if (!RepositoryDirectory::isOwn(name)) {
        return FOREIGN_NAME;
    }
    const int rc = below().xDelete(&below(), name, syncDirectory);
    return rc == SQLITE_IOERR_DIR_FSYNC ? SQLITE_OK : rc;
}

/// The first call for a file that a journal names. An error here leaves everything as it is.
int xAccess(sqlite3_vfs*, const char* name, int flags, int* result) {
    *result = 0;
    return RepositoryDirectory::isJournalOrLog(name)
               ? below().xAccess(&below(), name, flags, result)
               : FOREIGN_NAME;
}

/// The names are complete and must not be resolved.
int xFullPathname(sqlite3_vfs*, const char* name, int size, char* result) {
    if (!RepositoryDirectory::isOwn(name) || std::strlen(name) >= static_cast<size_t>(size)) {
        return SQLITE_CANTOPEN;
    }
    std::strcpy(result, name);
    return SQLITE_OK;
}

}  // namespace

const char* layerName() {
    static sqlite3_vfs layer = [] {
        RepositoryDirectory::guard(below());
        // A copy of the layer below with calls of its own.
        sqlite3_vfs copy = below();
        copy.pNext = nullptr;
        copy.zName = "kov-checked";
        copy.szOsFile += static_cast<int>(sizeof(File));
        copy.xOpen = xOpen;
        copy.xDelete = xDelete;
        copy.xAccess = xAccess;
        copy.xFullPathname = xFullPathname;
        return copy;
    }();
    // Registering again changes nothing.
    sqlite3_vfs_register(&layer, 0);
    return layer.zName;
}

}  // namespace OpenWBEM::CheckedFile
