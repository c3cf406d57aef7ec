// SPDX-License-Identifier: Apache-2.0
//
// SQLite's write-ahead log beside the file while the daemon serves it. The file stays locked all
// the time. A commit appends the changed pages to the log without a sync, so it survives the death
// of the process; sync() makes it survive a power cut. A torn unit at the end of the log is
// ignored; the units before it are kept.
#pragma once

#include "openwbem/repository/Connection.hpp"

namespace OpenWBEM {

class WriteAheadLog {
public:
    /// Checks the file's format, locks it and starts the log. Throws CIMException FAILED, as all of
    /// these do.
    explicit WriteAheadLog(Connection& connection);
    /// Merges the log that a killed daemon left into the file before anything is read: its units
    /// were acknowledged. A daemon that was killed while it wrote the header without a log left a
    /// journal, which brings the former header back.
    static void mergeLeftover(Connection& connection);

    /// Must be called after each commit.
    void noteCommit() noexcept { m_isDurable = false; }
    /// Makes every unit that was committed durable, by one sync; none when nothing was committed
    /// since the last one. After a failure a later call tries again.
    void sync();
    /// Merges the log into the file, durably, and releases the lock. When that fails, the next
    /// opening does it.
    void end();

private:
    Connection& m_connection;
    /// A log that a killed daemon has left may hold units, and have a name, that no sync has put on
    /// the disk.
    bool m_isDurable = false;
};

}  // namespace OpenWBEM
