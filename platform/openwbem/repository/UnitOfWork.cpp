// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/UnitOfWork.hpp"

#include <sqlite3.h>

#include <utility>

#include "blocxx/Format.hpp"
#include "blocxx/Invariant.hpp"
#include "openwbem/repository/RepositoryFormat.hpp"
#include "openwbem/repository/Statement.hpp"

namespace OpenWBEM {

using blocxx::Format;

namespace {

// EXTRA syncs the directory after the journal is removed, so that a commit is durable when it
// returns. The cache holds what most runs write, so that pages are written once, at the end; its
// size bounds the memory.
constexpr const char* WRITING_PRAGMAS = "PRAGMA synchronous=EXTRA; PRAGMA cache_size=-4096;";

// When pages had been written before, a failed write may leave the journal, from which the next
// reader rolls back. Reading removes the journal at once.
constexpr const char* REMOVE_JOURNAL = "SELECT count(*) FROM sqlite_master";
// A commit whose last write fails may be complete in the log all the same, and the next opening
// would find it there. The next transaction writes over it; this one changes nothing.
constexpr const char* OVERWRITE_LOG = "PRAGMA user_version=1";
static_assert(RepositoryFormat::VERSION == 1);

void executeIgnoringErrors(sqlite3* database, const char* sql) noexcept {
    sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
}

}  // namespace

UnitOfWork::UnitOfWork(Connection& connection, RepositoryUse use)
    : m_connection(connection), m_isServed(use == RepositoryUse::SERVED) {
    connection.onFailure([this] { rollBack(true); });
}

UnitOfWork::~UnitOfWork() {
    rollBack(true);
}

bool UnitOfWork::hasChangedElsewhere() {
    const bool rolledBack = std::exchange(m_rolledBackSinceAsked, false);
    if (m_isServed) {
        return rolledBack;
    }
    // Inside a unit of work nobody else can write.
    if (m_state == State::OPEN && !std::exchange(m_justBegun, false)) {
        return rolledBack;
    }
    Statement query(m_connection, "PRAGMA data_version");
    const int64_t version = query.step() ? query.number(0) : 0;
    return std::exchange(m_dataVersion, version) != version || rolledBack;
}

bool UnitOfWork::beginRead() {
    // A served file is locked all the time.
    if (m_reading || m_state == State::OPEN || m_isServed) {
        return false;
    }
    Statement(m_connection, "BEGIN DEFERRED").run();
    m_reading = true;
    return true;
}

void UnitOfWork::endRead() noexcept {
    if (!std::exchange(m_reading, false)) {
        return;
    }
    try {
        Statement(m_connection, "COMMIT").run();
    } catch (...) {
        // What was read is valid. Only the lock must be released.
        executeIgnoringErrors(m_connection.raw(), "ROLLBACK");
    }
}

bool UnitOfWork::begin(const char* sql) {
    if (m_state != State::NONE) {
        return m_state == State::OPEN;
    }
    endRead();
    if (!m_tunedForWriting && !m_isServed) {
        m_connection.execute(WRITING_PRAGMAS, "written");
        m_tunedForWriting = true;
    }
    m_connection.execute(sql, "written");
    m_state = State::OPEN;
    m_justBegun = true;
    m_changesAtBegin = m_connection.changes();
    if (!m_isServed) {
        m_connection.checkPlace();
    }
    return true;
}

void UnitOfWork::hold() {
    if (m_state != State::NONE || !begin("BEGIN EXCLUSIVE")) {
        OPENWBEM_THROW_CIM(
            FAILED, Format("The repository \"%1\" cannot be held: a unit of work is open already",
                           m_connection.file()));
    }
}

// The unit of work becomes durable in these steps, all inside COMMIT:
//  1. The journal (the old pages) is synced, then its directory. A crash before that leaves the
//     file unchanged: nothing has been written to it.
//  2. The changed pages are written and the file is synced. A crash from here on leaves a hot
//     journal, from which the next opening restores the old state.
//  3. The journal is removed: the commit point. After a crash the next opening finds the new state.
//  4. The directory is synced. A power cut before that may bring back the journal, and with it the
//     whole old state; after it the new state is durable.
// After a failure in 1 to 3, the transaction has been rolled back when this throws.
bool UnitOfWork::commit() {
    if (m_state == State::NONE) {
        return false;
    }
    if (m_state == State::ROLLED_BACK) {
        OPENWBEM_THROW_CIM(FAILED, Format("The changes to the repository \"%1\" were rolled back "
                                          "by an earlier failure; there is nothing to store",
                                          m_connection.file()));
    }
    m_connection.execute("COMMIT", "written");
    blocxx::ensured(sqlite3_get_autocommit(m_connection.raw()) != 0);
    m_state = State::NONE;
    return true;
}

void UnitOfWork::rollBack(bool failed) noexcept {
    if (m_state == State::OPEN) {
        m_rolledBackSinceAsked =
            m_rolledBackSinceAsked || m_connection.changes() != m_changesAtBegin;
        if (sqlite3_get_autocommit(m_connection.raw()) == 0) {
            executeIgnoringErrors(m_connection.raw(), "ROLLBACK");
        }
        if (failed) {
            executeIgnoringErrors(m_connection.raw(), m_isServed ? OVERWRITE_LOG : REMOVE_JOURNAL);
        }
        // The next operation of a served repository is no undo step of this one: it starts afresh.
        const bool isLost = failed && !m_isServed;
        m_state = isLost ? State::ROLLED_BACK : State::NONE;
    }
}

void UnitOfWork::abandon() noexcept {
    rollBack(true);
    m_state = State::ROLLED_BACK;
}

}  // namespace OpenWBEM
