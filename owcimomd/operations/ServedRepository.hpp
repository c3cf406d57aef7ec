// SPDX-License-Identifier: Apache-2.0
//
// The repository that the daemon holds. Objects at the other end of an association are read with
// the rights of the user whose request is being carried out.
#pragma once

#include <functional>

#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace OwCimomd {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

class ServedRepository {
public:
    /// Returns whether the current user may read instances in namespace `ns`.
    using MayRead = std::function<bool(const String& ns)>;

    /// Throws CIMException FAILED when it cannot be opened for serving.
    explicit ServedRepository(const String& directory);
    ~ServedRepository();
    ServedRepository(const ServedRepository&) = delete;
    ServedRepository& operator=(const ServedRepository&) = delete;

    RepositoryCIMOMHandle& handle() { return *m_handle; }
    /// Without it, everything may be read.
    void setMayRead(MayRead mayRead);
    /// See CIMRepository::rollBack().
    void rollBack() noexcept { m_repository->rollBack(); }
    /// See CIMRepository::sync().
    void sync() { m_repository->sync(); }
    /// Merges the write-ahead log into the repository file and releases its lock. Throws
    /// CIMException when that fails; the next opening merges the log then.
    void close() { m_repository->close(); }

private:
    class Environment;
    class VisibleObjects;

    LocalOperationContext m_context;
    CIMRepositoryRef m_repository;
    blocxx::IntrusiveReference<Environment> m_environment;
    blocxx::IntrusiveReference<VisibleObjects> m_visible;
    blocxx::IntrusiveReference<RepositoryCIMOMHandle> m_handle;
};

}  // namespace OwCimomd
