// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/RepositoryStore.hpp"

#include "blocxx/Interruption.hpp"
#include "blocxx/Invariant.hpp"
#include "openwbem/repository/FormatUpgrade.hpp"

namespace OpenWBEM {

RepositoryStore::RepositoryStore(const String& directory, RepositoryUse use)
    : connection(directory),
      unit(connection, use),
      namespaces(connection),
      qualifiers(connection),
      classes(connection, qualifiers),
      instances(connection),
      embedded(qualifiers, classes, instances) {
    if (use == RepositoryUse::SERVED) {
        log.emplace(connection);
    } else {
        WriteAheadLog::mergeLeftover(connection);
        if (use == RepositoryUse::UPGRADE) {
            upgradeFormat();
        } else {
            connection.checkFormat();
        }
        // Who only reads goes through most pages once.
        connection.execute("PRAGMA cache_size=-1024", "read");
    }
}

void RepositoryStore::upgradeFormat() {
    formatBefore = connection.checkKnownFormat();
    if (formatBefore != RepositoryFormat::VERSION) {
        blocxx::ensured(unit.beginWrite());
        FormatUpgrade::run(connection, formatBefore);
    }
}

void RepositoryStore::refresh() {
    if (unit.hasChangedElsewhere()) {
        namespaces.forget();
        qualifiers.forget();
        classes.forget();
        embedded.forget();
    }
}

ReadOperation::ReadOperation(RepositoryStore& store)
    : m_store(store), m_isOutermost(store.unit.beginRead()) {
    try {
        if (m_isOutermost) {
            blocxx::Interruption::check();
        }
        store.refresh();
    } catch (...) {
        end();
        throw;
    }
}

ReadOperation::~ReadOperation() {
    end();
}

void ReadOperation::end() noexcept {
    if (m_isOutermost) {
        m_store.unit.endRead();
    }
}

namespace {

/// Returns the store, or throws what Interruption::check() throws.
RepositoryStore& uninterrupted(RepositoryStore& store) {
    blocxx::Interruption::check();
    return store;
}

}  // namespace

WriteOperation::WriteOperation(RepositoryStore& store)
    : m_store(uninterrupted(store)),
      m_void(!store.unit.beginWrite()),
      m_changesBefore(store.connection.changes()) {
    // Looking for changes by others reads the file, which would slow down a long undo list whose
    // operations are all void.
    if (!m_void || store.unit.wasRolledBackSinceAsked()) {
        store.refresh();
    }
}

WriteOperation::~WriteOperation() {
    if (m_done || m_void) {
        return;
    }
    UnitOfWork& unit = m_store.unit;
    if (m_store.connection.changes() != m_changesBefore) {
        unit.rollBack(true);
    } else if (m_changesBefore == unit.changesAtBegin()) {
        unit.rollBack(false);
    }
}

}  // namespace OpenWBEM
