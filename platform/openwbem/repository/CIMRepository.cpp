// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/CIMRepository.hpp"

#include "openwbem/repository/RepositoryStore.hpp"

namespace OpenWBEM {

CIMRepository::CIMRepository() = default;

CIMRepository::~CIMRepository() = default;

void CIMRepository::create(const String& directory) {
    Database::create(directory);
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
    // Closed either way: what cannot be stored now is rolled back.
    const std::unique_ptr<RepositoryStore> closing = std::move(m_store);
    m_environment = ServiceEnvironmentIFCRef();
    closing->database.commit();
    if (closing->database.isServed()) {
        closing->database.endServing();
    }
}

void CIMRepository::hold() {
    store().database.hold();
}

void CIMRepository::commit() {
    store().database.commit();
}

void CIMRepository::rollBack() noexcept {
    if (m_store) {
        m_store->database.rollBack(false);
    }
}

void CIMRepository::sync() {
    store().database.sync();
}

void CIMRepository::abandon() noexcept {
    if (m_store) {
        m_store->database.abandon();
    }
}

bool CIMRepository::isOpen() const noexcept {
    return static_cast<bool>(m_store);
}

RepositoryStore& CIMRepository::store() {
    if (!m_store) {
        OPENWBEM_THROW_CIM(FAILED, "The repository is not open");
    }
    return *m_store;
}

}  // namespace OpenWBEM
