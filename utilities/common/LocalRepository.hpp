// SPDX-License-Identifier: Apache-2.0
//
// The repository of an installation, opened directly. Everything done through it is one unit of
// work: permanent with close(), undone by anything else.
#pragma once

#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace OwUtilities {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

class LocalRepository {
public:
    /// Throws CIMException when there is none in the directory, or it cannot be used.
    explicit LocalRepository(const String& directory);
    ~LocalRepository();
    LocalRepository(const LocalRepository&) = delete;
    LocalRepository& operator=(const LocalRepository&) = delete;

    const blocxx::IntrusiveReference<RepositoryCIMOMHandle>& handle() const noexcept {
        return m_handle;
    }
    bool hasNameSpace(const String& name) const;
    /// Commits. Throws CIMException; then nothing was done.
    void close() { m_repository->close(); }

private:
    class Environment;
    LocalOperationContext m_context;
    CIMRepositoryRef m_repository;
    blocxx::IntrusiveReference<Environment> m_environment;
    blocxx::IntrusiveReference<RepositoryCIMOMHandle> m_handle;
};

}  // namespace OwUtilities
