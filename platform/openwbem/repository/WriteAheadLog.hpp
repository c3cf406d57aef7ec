// SPDX-License-Identifier: Apache-2.0
//
// The file while the daemon serves it: locked from the opening to the end, with SQLite's
// write-ahead log beside it. A commit appends the changed pages to the log and syncs nothing: it
// outlives the death of the process. sync() makes it outlive that of the machine. A unit that was
// not written to its end is none, and the units before it are there; whatever becomes of one that
// fails, SQLite takes back that one only.
#pragma once

#include "openwbem/repository/Connection.hpp"

namespace OpenWBEM {

class WriteAheadLog {
public:
    /// Checks the file's format, locks it and starts the log. Throws CIMException FAILED, as all of
    /// these do.
    explicit WriteAheadLog(Connection& connection);
    /// A daemon that was killed has left its log. What is in it was acknowledged, so it is merged
    /// into the file before anything is read. One that was killed while it wrote the header that
    /// speaks of no log has left a journal, which brings the header back that does.
    static void mergeLeft(Connection& connection);

    /// There is something new to be synced.
    void noteCommit() noexcept { m_isDurable = false; }
    /// Makes every unit that was committed durable, by one sync; none when nothing was committed
    /// since the last one. After a failure a later call tries again.
    void sync();
    /// Brings the file back into its plain form: everything in the one file, on the disk, and no
    /// lock. When that fails, the next opening does it.
    void end();

private:
    Connection& m_connection;
    /// A log that a killed daemon has left may hold units, and have a name, that no sync has put on
    /// the disk.
    bool m_isDurable = false;
};

}  // namespace OpenWBEM
