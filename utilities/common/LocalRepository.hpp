// SPDX-License-Identifier: Apache-2.0
//
// The repository of an installation, opened directly. Everything done through it is one unit of
// work: permanent with close(), undone by anything else.
#pragma once

#include "openwbem/repository/OpenRepository.hpp"
#include "utilities/common/Repository.hpp"

namespace OwUtilities {

class LocalRepository : public Repository {
public:
    /// Throws CIMException when there is none in the directory, or it cannot be used.
    explicit LocalRepository(const String& directory) : m_opened(directory) {}

    CIMOMHandleIFCRef handle() const override { return m_opened.handle(); }
    bool hasNameSpace(const String& name) const override;
    void store(const String& ns, const ObjectsToStore& objects) override {
        storeObjects(*m_opened, ns, objects);
    }
    bool isUnitOfWork() const override { return true; }
    /// Throws CIMException; then nothing was done.
    void close() override { m_opened.repository().close(); }
    /// The same handle, with the operations on namespaces.
    RepositoryCIMOMHandle& namespaces() const { return *m_opened; }

private:
    OpenRepository m_opened;
};

}  // namespace OwUtilities
