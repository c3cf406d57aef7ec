// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/OpenRepository.hpp"

namespace OpenWBEM {

OpenRepository::OpenRepository(LocalEnvironmentRef environment, RepositoryUse use)
    : m_environment(std::move(environment)), m_repository(new CIMRepository) {
    m_repository->init(m_environment, use);
    m_handle = followAssociationsThrough<RepositoryCIMOMHandle>();
}

OpenRepository::~OpenRepository() {
    // The handle holds the repository, that its environment, and that the handle.
    m_environment->setHandle({});
}

}  // namespace OpenWBEM
