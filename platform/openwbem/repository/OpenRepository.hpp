// SPDX-License-Identifier: Apache-2.0
//
// Opens a repository in this process and owns everything that its handle needs.
#pragma once

#include "openwbem/repository/LocalEnvironment.hpp"
#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace OpenWBEM {

/// Dereferences to its handle. No handle on the repository may be used after its destruction.
class OpenRepository {
public:
    /// Throws CIMException FAILED when there is no repository in the directory, or it cannot be
    /// used.
    explicit OpenRepository(String directory, RepositoryUse use = RepositoryUse::UNIT_OF_WORK)
        : OpenRepository(new LocalEnvironment(std::move(directory)), use) {}
    /// The same for the directory that the environment names, which belongs to no other repository.
    explicit OpenRepository(LocalEnvironmentRef environment,
                            RepositoryUse use = RepositoryUse::UNIT_OF_WORK);
    /// Rolls back what was not committed.
    ~OpenRepository();
    OpenRepository(const OpenRepository&) = delete;
    OpenRepository& operator=(const OpenRepository&) = delete;

    RepositoryCIMOMHandle& operator*() const noexcept { return *m_handle.get(); }
    RepositoryCIMOMHandle* operator->() const noexcept { return m_handle.get(); }
    CIMOMHandleIFCRef handle() const noexcept { return m_handle; }
    CIMRepository& repository() const noexcept { return *m_repository.get(); }

    /// Makes a second handle of that kind, through which associations are followed from now on:
    /// they lead to what it sees.
    template <class Handle>
    blocxx::IntrusiveReference<Handle> followAssociationsThrough() {
        const blocxx::IntrusiveReference<Handle> handle(new Handle(m_repository, m_context));
        m_environment->setHandle(handle);
        return handle;
    }

private:
    blocxx::IntrusiveReference<RepositoryCIMOMHandle> m_handle;
    LocalOperationContext m_context;
    LocalEnvironmentRef m_environment;
    CIMRepositoryRef m_repository;
};

}  // namespace OpenWBEM
