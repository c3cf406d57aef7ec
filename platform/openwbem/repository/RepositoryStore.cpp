// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/RepositoryStore.hpp"

#include "blocxx/Interruption.hpp"

namespace OpenWBEM {

void RepositoryStore::refresh() {
    if (database.hasChangedElsewhere()) {
        namespaces.forget();
        qualifiers.forget();
        classes.forget();
        embedded.forget();
    }
}

ReadOperation::ReadOperation(RepositoryStore& store)
    : m_store(store), m_isOutermost(store.database.beginRead()) {
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
        m_store.database.endRead();
    }
}

namespace {

/// The store, unless the run is to fail before the operation begins.
RepositoryStore& uninterrupted(RepositoryStore& store) {
    blocxx::Interruption::check();
    return store;
}

}  // namespace

WriteOperation::WriteOperation(RepositoryStore& store)
    : m_store(uninterrupted(store)),
      m_void(!store.database.beginWrite()),
      m_changesBefore(store.database.changes()) {
    // Looking for others' changes reads the file, and a long undo list is all void.
    if (!m_void || store.database.wasRolledBackSinceAsked()) {
        store.refresh();
    }
}

WriteOperation::~WriteOperation() {
    Database& database = m_store.database;
    if (m_done || m_void) {
        return;
    }
    if (database.changes() != m_changesBefore) {
        database.rollBack(true);
    } else if (m_changesBefore == database.changesAtBegin()) {
        database.rollBack(false);
    }
}

}  // namespace OpenWBEM
