// SPDX-License-Identifier: Apache-2.0
//
// The object store: one SQLite file in a directory. Opening never creates; only create() does.
//
// A repository is one unit of work. The first change starts it, close() or commit() makes it
// permanent, and everything short of that (a failure, a destructor, a killed process) leaves the
// file as it was. Reads outside a unit of work hold no lock between calls, so that two repositories
// may be open on one file in one process while one of them is idle.
//
// Every failure of the file itself (missing, damaged, of a newer format, read-only, locked, disk
// full) is a CIMException FAILED whose message names the file and the remedy.
#pragma once

#include <memory>

#include "openwbem/repository/RepositoryUse.hpp"
#include "openwbem/repository/ServiceEnvironmentIFC.hpp"

namespace OpenWBEM {

class RepositoryStore;

class CIMRepository : public blocxx::IntrusiveCountableBase {
public:
    CIMRepository();
    /// Rolls back what was not committed.
    ~CIMRepository() override;

    /// The name of the repository file in its directory.
    static constexpr const char* FILE_NAME = "repository.db";

    /// Makes a new, empty repository without any namespace in `directory`, which must exist and
    /// hold none. On failure no file is left behind.
    static void create(const String& directory);

    /// Whether the file says that it has the present format. Also while somebody serves it, and
    /// checks nothing else. Throws CIMException FAILED when there is no file.
    static bool hasPresentFormat(const String& directory);

    /// Opens the repository in the directory that `environment` names as ConfigOpts::DATADIR_opt.
    void init(const ServiceEnvironmentIFCRef& environment,
              RepositoryUse use = RepositoryUse::UNIT_OF_WORK);
    /// Commits and closes. On failure it throws and nothing of the unit of work remains. A
    /// repository that was served is brought back into its plain form; when that fails it throws
    /// too, but nothing that was committed is lost.
    void close();
    /// Starts the unit of work so that nobody else can even read the file until it ends: whoever
    /// opens it meanwhile is told that it is held. Not while there is a unit of work. Throws
    /// CIMException FAILED when somebody has the file. The lock goes early when the file is opened
    /// and closed in this process by any other means.
    void hold();
    /// Commits the unit of work: durable, unless the repository is served. See
    /// CIMOMHandleIFC::commit().
    void commit();
    /// Takes back what the unit of work has done so far; the next change starts a new one.
    void rollBack() noexcept;
    /// Makes everything that was committed while the repository is served durable. Throws
    /// CIMException FAILED; what was committed is still there then, and may be lost in a power cut.
    void sync();
    /// For an owner who throws the file away: rolls back what was not committed. From then on
    /// writes have nothing to do and succeed, and commit() fails. Does nothing when it is closed.
    void abandon() noexcept;
    bool isOpen() const noexcept;
    /// Reads every page of the file. Throws CIMException FAILED when the database is damaged.
    void check();

    RepositoryStore& store();
    const ServiceEnvironmentIFCRef& environment() const noexcept { return m_environment; }

private:
    ServiceEnvironmentIFCRef m_environment;
    std::unique_ptr<RepositoryStore> m_store;
};
using CIMRepositoryRef = blocxx::IntrusiveReference<CIMRepository>;

}  // namespace OpenWBEM
