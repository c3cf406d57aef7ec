// SPDX-License-Identifier: Apache-2.0
//
// The transactions on a connection: the unit of work, and read transactions, which see one state of
// the file. A failure of the connection rolls the open unit of work back.
#pragma once

#include "openwbem/repository/Connection.hpp"
#include "openwbem/repository/RepositoryUse.hpp"

namespace OpenWBEM {

class UnitOfWork {
public:
    UnitOfWork(Connection& connection, RepositoryUse use);
    /// Rolls back.
    ~UnitOfWork();
    UnitOfWork(const UnitOfWork&) = delete;
    UnitOfWork& operator=(const UnitOfWork&) = delete;

    /// Starts a transaction that reads: all statements up to endRead() see one state of the file,
    /// and it is locked once for all of them. False when it is locked already, for longer.
    [[nodiscard]] bool beginRead();
    void endRead() noexcept;
    /// Starts the unit of work unless it has been. False when it was rolled back by a failure: then
    /// there is nothing to write to, and the caller does nothing.
    [[nodiscard]] bool beginWrite() { return begin("BEGIN IMMEDIATE"); }
    /// Starts a unit of work that keeps everybody else from reading, too. There is none yet.
    void hold();
    /// Commits the unit of work: durable, unless the file is served. False when there is none.
    /// Throws CIMException FAILED, and again at each further call, when it has failed or was rolled
    /// back by an earlier failure.
    bool commit();
    /// Ends the unit of work as if it had not been. When `failed`, what it held counts as lost and
    /// the state is "rolled back"; otherwise a new unit may start.
    void rollBack(bool failed) noexcept;
    /// Ends the unit of work for good: as after a failure, there is nothing to write to any more.
    void abandon() noexcept;

    /// What Connection::changes() was when the unit of work began.
    int64_t changesAtBegin() const noexcept { return m_changesAtBegin; }
    /// Whether what was read before may be out of date: somebody else has written to the file, or a
    /// unit of work was rolled back. Tells each change once.
    bool hasChangedElsewhere();
    /// Whether hasChangedElsewhere() will tell of a unit of work that was rolled back.
    bool wasRolledBackSinceAsked() const noexcept { return m_rolledBackSinceAsked; }

private:
    enum class State { NONE, OPEN, ROLLED_BACK };

    bool begin(const char* sql);

    Connection& m_connection;
    bool m_isServed;
    State m_state = State::NONE;
    bool m_tunedForWriting = false;
    bool m_rolledBackSinceAsked = false;
    bool m_justBegun = false;
    bool m_reading = false;
    int64_t m_dataVersion = 0;
    int64_t m_changesAtBegin = 0;
};

}  // namespace OpenWBEM
