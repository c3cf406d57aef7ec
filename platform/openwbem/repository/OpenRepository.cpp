// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/OpenRepository.hpp"

namespace OpenWBEM {

OpenRepository::OpenRepository(LocalEnvironmentRef environment, RepositoryUse use)
    : m_environment(std::move(environment)), m_repository(new CIMRepository) {
    m_repository->init(m_environment, use);
    m_handle = followAssociationsThrough<RepositoryCIMOMHandle>();
}

OpenRepository::~OpenRepository() {
    // Breaks a cycle: the handle holds the repository, the repository its environment, and the
    // environment the handle.
    m_environment->setHandle({});
}

}  // namespace OpenWBEM
