// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/CIMRepository.hpp"

#include <sqlite3.h>

#include "openwbem/repository/RepositoryStore.hpp"
#include "openwbem/repository/Statement.hpp"

namespace OpenWBEM {

CIMRepository::CIMRepository() = default;

CIMRepository::~CIMRepository() = default;

bool CIMRepository::hasPresentFormat(const String& directory) {
    const String header = Connection(directory).header();
    return !header.empty() &&
           RepositoryFormat::numberAt(header, RepositoryFormat::HEADER_VERSION_AT) ==
               RepositoryFormat::VERSION;
}

void CIMRepository::init(const ServiceEnvironmentIFCRef& environment, RepositoryUse use) {
    if (isOpen()) {
        OPENWBEM_THROW_CIM(FAILED, "The repository is open already");
    }
    m_store = std::make_unique<RepositoryStore>(
        environment->getConfigItem(ConfigOpts::DATADIR_opt, String()), use);
    m_environment = environment;
}

void CIMRepository::close() {
    if (!isOpen()) {
        return;
    }
    // The repository is closed even when the commit fails, which rolls back the changes.
    const std::unique_ptr<RepositoryStore> closing = std::move(m_store);
    m_environment = ServiceEnvironmentIFCRef();
    closing->unit.commit();
    if (closing->log) {
        closing->log->end();
    }
}

void CIMRepository::hold() {
    store().unit.hold();
}

void CIMRepository::commit() {
    if (store().unit.commit() && store().log) {
        store().log->noteCommit();
    }
}

void CIMRepository::rollBack() noexcept {
    if (m_store) {
        m_store->unit.rollBack(false);
    }
}

void CIMRepository::sync() {
    if (store().log) {
        store().log->sync();
    }
}

void CIMRepository::abandon() noexcept {
    if (m_store) {
        m_store->unit.abandon();
    }
}

bool CIMRepository::isOpen() const noexcept {
    return static_cast<bool>(m_store);
}

void CIMRepository::check() {
    Connection& connection = store().connection;
    Statement found(connection, "PRAGMA integrity_check(1)");
    if (!found.step() || found.text(0) != "ok") {
        connection.fail(SQLITE_CORRUPT, "used");
    }
}

RepositoryStore& CIMRepository::store() {
    if (!m_store) {
        OPENWBEM_THROW_CIM(FAILED, "The repository is not open");
    }
    return *m_store;
}

}  // namespace OpenWBEM
