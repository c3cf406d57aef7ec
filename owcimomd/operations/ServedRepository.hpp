// SPDX-License-Identifier: Apache-2.0
//
// The repository that the daemon holds. Objects at the other end of an association are read with
// the rights of the user whose request is being carried out.
#pragma once

#include <functional>

#include "openwbem/repository/OpenRepository.hpp"

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

    RepositoryCIMOMHandle& handle() { return *m_opened; }
    /// Without it, everything may be read.
    void setMayRead(MayRead mayRead);
    /// See CIMRepository::rollBack().
    void rollBack() noexcept { m_opened.repository().rollBack(); }
    /// See CIMRepository::sync().
    void sync() { m_opened.repository().sync(); }
    /// Merges the write-ahead log into the repository file and releases its lock. Throws
    /// CIMException when that fails; the next opening merges the log then.
    void close() { m_opened.repository().close(); }

private:
    class VisibleObjects;

    OpenRepository m_opened;
    blocxx::IntrusiveReference<VisibleObjects> m_visible;
};

}  // namespace OwCimomd
