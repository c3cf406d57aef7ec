// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/repository/FaultyFiles.hpp"

#include <signal.h>
#include <sqlite3.h>
#include <unistd.h>

#include <memory>

#include "tests/unit/repository/PowerCut.hpp"

namespace KovTest::FaultyFiles {

namespace {

struct State {
    bool armed = false;
    bool reached = false;
    Kind kind = Kind::FAIL_ONCE;
    int left = 0;
    std::unique_ptr<PowerCut> powerCut;
};
State state;  // NOLINT: SQLite calls the layer without an argument for it

sqlite3_vfs layer;            // NOLINT
sqlite3_vfs* real = nullptr;  // NOLINT

/// Counts an operation. Returns `failure` or SQLITE_FULL if it has to fail, otherwise SQLITE_OK.
/// May end the process instead.
int strike(int failure) {
    if (!state.armed) {
        return SQLITE_OK;
    }
    if (state.left > 0 && --state.left > 0) {
        return SQLITE_OK;
    }
    const bool isOnce = state.kind == Kind::FAIL_ONCE || state.kind == Kind::FAIL_COMPLETE;
    if (state.reached && isOnce) {
        return SQLITE_OK;
    }
    state.reached = true;
    if (state.powerCut) {
        state.powerCut->strike();
    }
    if (state.kind == Kind::DIE) {
        ::kill(::getpid(), SIGKILL);
    }
    return state.kind == Kind::NO_SPACE && failure == SQLITE_IOERR_WRITE ? SQLITE_FULL : failure;
}

struct File {
    sqlite3_file base;
    const char* name;  // null for files without one
};
sqlite3_file* below(sqlite3_file* file) {
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<File*>(file) + 1);
}

int xClose(sqlite3_file* f) {
    return below(f)->pMethods->xClose(below(f));
}
int xRead(sqlite3_file* f, void* b, int n, sqlite3_int64 o) {
    return below(f)->pMethods->xRead(below(f), b, n, o);
}
int xWrite(sqlite3_file* f, const void* b, int n, sqlite3_int64 o) {
    if (const int rc = strike(SQLITE_IOERR_WRITE); rc != SQLITE_OK) {
        // Part of it reaches the file, as a real failure may leave it.
        const int written = state.kind == Kind::FAIL_COMPLETE ? n : n / 2;
        below(f)->pMethods->xWrite(below(f), b, written, o);
        return rc;
    }
    return below(f)->pMethods->xWrite(below(f), b, n, o);
}
int xTruncate(sqlite3_file* f, sqlite3_int64 size) {
    const int rc = strike(SQLITE_IOERR_TRUNCATE);
    return rc != SQLITE_OK ? rc : below(f)->pMethods->xTruncate(below(f), size);
}
int xSync(sqlite3_file* f, int flags) {
    if (const int rc = strike(SQLITE_IOERR_FSYNC); rc != SQLITE_OK) {
        return rc;
    }
    const int rc = below(f)->pMethods->xSync(below(f), flags);
    const char* name = reinterpret_cast<File*>(f)->name;
    if (state.powerCut && name != nullptr) {
        state.powerCut->synced(name);
    }
    return rc;
}
int xFileSize(sqlite3_file* f, sqlite3_int64* size) {
    return below(f)->pMethods->xFileSize(below(f), size);
}
int xLock(sqlite3_file* f, int level) {
    return below(f)->pMethods->xLock(below(f), level);
}
int xUnlock(sqlite3_file* f, int level) {
    return below(f)->pMethods->xUnlock(below(f), level);
}
int xCheckReservedLock(sqlite3_file* f, int* out) {
    return below(f)->pMethods->xCheckReservedLock(below(f), out);
}
int xFileControl(sqlite3_file* f, int operation, void* argument) {
    return below(f)->pMethods->xFileControl(below(f), operation, argument);
}
int xSectorSize(sqlite3_file* f) {
    return below(f)->pMethods->xSectorSize(below(f));
}
int xDeviceCharacteristics(sqlite3_file* f) {
    return below(f)->pMethods->xDeviceCharacteristics(below(f));
}

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

int xOpen(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    file->pMethods = nullptr;
    if (const int rc = strike(SQLITE_CANTOPEN); rc != SQLITE_OK) {
        return rc;
    }
    reinterpret_cast<File*>(file)->name = name;
    if (state.powerCut && name != nullptr) {
        state.powerCut->willTouch(name);
    }
    const int rc = real->xOpen(real, name, below(file), flags, outFlags);
    if (below(file)->pMethods != nullptr) {
        file->pMethods = &METHODS;
    }
    return rc;
}

int xDelete(sqlite3_vfs*, const char* name, int sync) {
    if (const int rc = strike(SQLITE_IOERR_DELETE); rc != SQLITE_OK) {
        return rc;
    }
    if (state.powerCut) {
        state.powerCut->willTouch(name);
    }
    const int rc = real->xDelete(real, name, 0);
    if (rc != SQLITE_OK || sync == 0) {
        return rc;
    }
    // The sync of the directory counts as an operation of its own.
    const int synced = strike(SQLITE_IOERR_DIR_FSYNC);
    if (state.powerCut) {
        state.powerCut->directorySynced();
    }
    return synced;
}

}  // namespace

void install() {
    if (real != nullptr) {
        return;
    }
    real = sqlite3_vfs_find(nullptr);
    layer = *real;
    layer.pNext = nullptr;
    layer.zName = "faulty";
    layer.szOsFile += static_cast<int>(sizeof(File));
    layer.xOpen = xOpen;
    layer.xDelete = xDelete;
    sqlite3_vfs_register(&layer, 1);
}

void arm(Kind kind, int n, unsigned seed) {
    state = {true, false, kind, n,
             kind == Kind::POWER_CUT ? std::make_unique<PowerCut>(seed) : nullptr};
}

bool disarm() {
    state.armed = false;
    state.powerCut.reset();
    return state.reached;
}

}  // namespace KovTest::FaultyFiles
