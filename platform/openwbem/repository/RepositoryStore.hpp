// SPDX-License-Identifier: Apache-2.0
//
// An open repository file with its tables, and the scopes in which operations on it run.
#pragma once

#include "openwbem/repository/ClassTable.hpp"
#include "openwbem/repository/EmbeddedObjects.hpp"
#include "openwbem/repository/InstanceTable.hpp"
#include "openwbem/repository/NamespaceTable.hpp"
#include "openwbem/repository/QualifierTable.hpp"
#include "openwbem/repository/UnitOfWork.hpp"
#include "openwbem/repository/WriteAheadLog.hpp"

namespace OpenWBEM {

class RepositoryStore {
public:
    /// Checks the file, and starts its log when it is to be served. Throws CIMException FAILED.
    RepositoryStore(const String& directory, RepositoryUse use);

    /// Drops the caches when they may be out of date. Each operation begins with this.
    void refresh();

    Connection connection;
    UnitOfWork unit;
    std::optional<WriteAheadLog> log;  ///< of a file that is served
    NamespaceTable namespaces;
    QualifierTable qualifiers;
    ClassTable classes;
    InstanceTable instances;
    EmbeddedObjects embedded;
    /// What the file had when it was opened.
    int32_t formatBefore = RepositoryFormat::VERSION;

private:
    void upgradeFormat();
};

/// The scope of an operation that reads: it sees one state of the file, which is locked for all of
/// it. Results must not be passed to the caller inside, since nobody else can write meanwhile.
class ReadOperation {
public:
    explicit ReadOperation(RepositoryStore& store);
    ~ReadOperation();
    ReadOperation(const ReadOperation&) = delete;
    ReadOperation& operator=(const ReadOperation&) = delete;

    RepositoryStore& store() const noexcept { return m_store; }

private:
    void end() noexcept;

    RepositoryStore& m_store;
    bool m_isOutermost;
};

/// Frames an operation that writes: it begins the unit of work when there is none yet, and when the
/// operation does not reach done(), nothing of it stays. An operation that has written already
/// takes the whole unit of work with it; one that was refused before it wrote anything leaves the
/// unit as it was, and none when it was the first.
class WriteOperation {
public:
    explicit WriteOperation(RepositoryStore& store);
    ~WriteOperation();
    WriteOperation(const WriteOperation&) = delete;
    WriteOperation& operator=(const WriteOperation&) = delete;

    /// True when the unit of work was rolled back by a failure: there is nothing to do.
    bool isVoid() const noexcept { return m_void; }
    void done() noexcept { m_done = true; }

private:
    RepositoryStore& m_store;
    bool m_void;
    bool m_done = false;
    int64_t m_changesBefore;
};

}  // namespace OpenWBEM
