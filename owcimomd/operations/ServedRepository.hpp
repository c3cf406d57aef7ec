// SPDX-License-Identifier: Apache-2.0
//
// The repository that the daemon holds, and what it is told of its surroundings: the objects that
// associations lead to are read with the eyes of the user whose request is being carried out.
#pragma once

#include <functional>

#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

namespace OwCimomd {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

class ServedRepository {
public:
    /// Tells whether instances of a namespace may be seen at the moment.
    using MayRead = std::function<bool(const String& ns)>;

    /// Throws CIMException FAILED when it cannot be opened for serving.
    explicit ServedRepository(const String& directory);
    ~ServedRepository();
    ServedRepository(const ServedRepository&) = delete;
    ServedRepository& operator=(const ServedRepository&) = delete;

    RepositoryCIMOMHandle& handle() { return *m_handle; }
    /// By default everything may be seen.
    void setMayRead(MayRead mayRead);
    /// See CIMRepository::rollBack().
    void rollBack() noexcept { m_repository->rollBack(); }
    /// See CIMRepository::sync().
    void sync() { m_repository->sync(); }
    /// Everything into the one file. Throws CIMException when that fails; the next opening does it
    /// then.
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
