// SPDX-License-Identifier: Apache-2.0
//
// The repository of an installation, opened directly. Everything done through it is one unit of
// work: permanent with close(), undone by anything else.
#pragma once

#include "openwbem/repository/RepositoryCIMOMHandle.hpp"
#include "utilities/common/Repository.hpp"

namespace OwUtilities {

class LocalRepository : public Repository {
public:
    /// Throws CIMException when there is none in the directory, or it cannot be used.
    explicit LocalRepository(const String& directory);
    ~LocalRepository() override;
    LocalRepository(const LocalRepository&) = delete;
    LocalRepository& operator=(const LocalRepository&) = delete;

    CIMOMHandleIFCRef handle() const override { return m_handle; }
    bool hasNameSpace(const String& name) const override;
    void store(const String& ns, const ObjectsToStore& objects) override {
        storeObjects(*m_handle, ns, objects);
    }
    bool isUnitOfWork() const override { return true; }
    /// Throws CIMException; then nothing was done.
    void close() override { m_repository->close(); }
    /// The same handle, with the operations on namespaces.
    RepositoryCIMOMHandle& namespaces() const { return *m_handle; }

private:
    class Environment;
    LocalOperationContext m_context;
    CIMRepositoryRef m_repository;
    blocxx::IntrusiveReference<Environment> m_environment;
    blocxx::IntrusiveReference<RepositoryCIMOMHandle> m_handle;
};

}  // namespace OwUtilities
